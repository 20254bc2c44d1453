// Conversions between shorts, ints and floats. The rule for each pair stands at KX_Base::Convert_Bs.
#ifndef KAVRIX_CONVERT_SI_H
#define KAVRIX_CONVERT_SI_H

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXshort.h>

inline void Convert(const VecShort& src, VecInt& dst) { KX_Base::Convert_si(src, dst); }
inline void Convert(const MatShort& src, MatInt& dst) { KX_Base::Convert_si(src, dst); }

inline void Convert(const VecInt& src, VecShort& dst) { KX_Base::Convert_is(src, dst); }
inline void Convert(const MatInt& src, MatShort& dst) { KX_Base::Convert_is(src, dst); }

inline void Convert(const VecShort& src, VecFloat& dst) { KX_Base::Convert_sf(src, dst); }
inline void Convert(const MatShort& src, MatFloat& dst) { KX_Base::Convert_sf(src, dst); }
inline void Convert(const CubShort& src, CubFloat& dst) { KX_Base::Convert_sf(src, dst); }

inline void Convert(const VecFloat& src, VecShort& dst) { KX_Base::Convert_fs(src, dst); }
inline void Convert(const MatFloat& src, MatShort& dst) { KX_Base::Convert_fs(src, dst); }
inline void Convert(const CubFloat& src, CubShort& dst) { KX_Base::Convert_fs(src, dst); }

inline void Convert(const VecInt& src, VecFloat& dst) { KX_Base::Convert_if(src, dst); }
inline void Convert(const MatInt& src, MatFloat& dst) { KX_Base::Convert_if(src, dst); }

inline void Convert(const VecFloat& src, VecInt& dst) { KX_Base::Convert_fi(src, dst); }
inline void Convert(const MatFloat& src, MatInt& dst) { KX_Base::Convert_fi(src, dst); }

#endif
