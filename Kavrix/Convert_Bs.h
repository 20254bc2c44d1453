// Conversions from and to bytes. The rule for each pair of element types stands at KX_Base::Convert_Bs.
#ifndef KAVRIX_CONVERT_BS_H
#define KAVRIX_CONVERT_BS_H

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXshort.h>

inline void Convert(const VecByte& src, VecShort& dst) { KX_Base::Convert_Bs(src, dst); }
inline void Convert(const MatByte& src, MatShort& dst) { KX_Base::Convert_Bs(src, dst); }
inline void Convert(const CubByte& src, CubShort& dst) { KX_Base::Convert_Bs(src, dst); }

inline void Convert(const VecShort& src, VecByte& dst) { KX_Base::Convert_sB(src, dst); }
inline void Convert(const MatShort& src, MatByte& dst) { KX_Base::Convert_sB(src, dst); }
inline void Convert(const CubShort& src, CubByte& dst) { KX_Base::Convert_sB(src, dst); }

inline void Convert(const VecByte& src, VecInt& dst) { KX_Base::Convert_Bi(src, dst); }
inline void Convert(const MatByte& src, MatInt& dst) { KX_Base::Convert_Bi(src, dst); }

inline void Convert(const VecInt& src, VecByte& dst) { KX_Base::Convert_iB(src, dst); }
inline void Convert(const MatInt& src, MatByte& dst) { KX_Base::Convert_iB(src, dst); }

inline void Convert(const VecByte& src, VecFloat& dst) { KX_Base::Convert_Bf(src, dst); }
inline void Convert(const MatByte& src, MatFloat& dst) { KX_Base::Convert_Bf(src, dst); }
inline void Convert(const CubByte& src, CubFloat& dst) { KX_Base::Convert_Bf(src, dst); }

inline void Convert(const VecFloat& src, VecByte& dst) { KX_Base::Convert_fB(src, dst); }
inline void Convert(const MatFloat& src, MatByte& dst) { KX_Base::Convert_fB(src, dst); }
inline void Convert(const CubFloat& src, CubByte& dst) { KX_Base::Convert_fB(src, dst); }

#endif
