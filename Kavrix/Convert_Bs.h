/// \file
/// Conversions from and to bytes: Convert(src, dst) gives dst the values of src, over src's shape. A dst
/// without storage gets that shape first; one that has storage is written through, for all its views, and
/// its shape is not checked. The rules of all pairs stand together at KX_Base::Convert_Bs.
#ifndef KAVRIX_CONVERT_BS_H
#define KAVRIX_CONVERT_BS_H

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXshort.h>

/// Bytes to shorts: 200 stays 200.
/// @{
inline void Convert(const VecByte& src, VecShort& dst) { KX_Base::Convert_Bs(src, dst); }
inline void Convert(const MatByte& src, MatShort& dst) { KX_Base::Convert_Bs(src, dst); }
inline void Convert(const CubByte& src, CubShort& dst) { KX_Base::Convert_Bs(src, dst); }
/// @}

/// Shorts to bytes: the low 8 bits, without clamping; 256 becomes 0, -1 becomes 255.
/// @{
inline void Convert(const VecShort& src, VecByte& dst) { KX_Base::Convert_sB(src, dst); }
inline void Convert(const MatShort& src, MatByte& dst) { KX_Base::Convert_sB(src, dst); }
inline void Convert(const CubShort& src, CubByte& dst) { KX_Base::Convert_sB(src, dst); }
/// @}

/// Bytes to ints: 200 stays 200.
/// @{
inline void Convert(const VecByte& src, VecInt& dst) { KX_Base::Convert_Bi(src, dst); }
inline void Convert(const MatByte& src, MatInt& dst) { KX_Base::Convert_Bi(src, dst); }
/// @}

/// Ints to bytes: the low 8 bits, without clamping.
/// @{
inline void Convert(const VecInt& src, VecByte& dst) { KX_Base::Convert_iB(src, dst); }
inline void Convert(const MatInt& src, MatByte& dst) { KX_Base::Convert_iB(src, dst); }
/// @}

/// Bytes to floats, exactly.
/// @{
inline void Convert(const VecByte& src, VecFloat& dst) { KX_Base::Convert_Bf(src, dst); }
inline void Convert(const MatByte& src, MatFloat& dst) { KX_Base::Convert_Bf(src, dst); }
inline void Convert(const CubByte& src, CubFloat& dst) { KX_Base::Convert_Bf(src, dst); }
/// @}

/// Floats to bytes: cut towards zero, negative ones 0, then the low 8 bits; 300.5f becomes 44.
/// @{
inline void Convert(const VecFloat& src, VecByte& dst) { KX_Base::Convert_fB(src, dst); }
inline void Convert(const MatFloat& src, MatByte& dst) { KX_Base::Convert_fB(src, dst); }
inline void Convert(const CubFloat& src, CubByte& dst) { KX_Base::Convert_fB(src, dst); }
/// @}

#endif
