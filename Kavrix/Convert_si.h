/// \file
/// Conversions between shorts, ints and floats: Convert(src, dst) gives dst the values of src, over src's
/// shape. A dst without storage gets that shape first; one that has storage is written through, for all its
/// views, and its shape is not checked. The rules of all pairs stand together at KX_Base::Convert_Bs.
#ifndef KAVRIX_CONVERT_SI_H
#define KAVRIX_CONVERT_SI_H

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXshort.h>

/// Shorts to ints, with their sign.
/// @{
inline void Convert(const VecShort& src, VecInt& dst) { KX_Base::Convert_si(src, dst); }
inline void Convert(const MatShort& src, MatInt& dst) { KX_Base::Convert_si(src, dst); }
/// @}

/// Ints to shorts: the low 16 bits, without clamping; 40000 becomes -25536.
/// @{
inline void Convert(const VecInt& src, VecShort& dst) { KX_Base::Convert_is(src, dst); }
inline void Convert(const MatInt& src, MatShort& dst) { KX_Base::Convert_is(src, dst); }
/// @}

/// Shorts to floats, exactly.
/// @{
inline void Convert(const VecShort& src, VecFloat& dst) { KX_Base::Convert_sf(src, dst); }
inline void Convert(const MatShort& src, MatFloat& dst) { KX_Base::Convert_sf(src, dst); }
inline void Convert(const CubShort& src, CubFloat& dst) { KX_Base::Convert_sf(src, dst); }
/// @}

/// Floats to shorts: cut towards zero, then the low 16 bits.
/// @{
inline void Convert(const VecFloat& src, VecShort& dst) { KX_Base::Convert_fs(src, dst); }
inline void Convert(const MatFloat& src, MatShort& dst) { KX_Base::Convert_fs(src, dst); }
inline void Convert(const CubFloat& src, CubShort& dst) { KX_Base::Convert_fs(src, dst); }
/// @}

/// Ints to floats: the nearest one.
/// @{
inline void Convert(const VecInt& src, VecFloat& dst) { KX_Base::Convert_if(src, dst); }
inline void Convert(const MatInt& src, MatFloat& dst) { KX_Base::Convert_if(src, dst); }
/// @}

/// Floats to ints: cut towards zero, held to the range of ints, not a number 0.
/// @{
inline void Convert(const VecFloat& src, VecInt& dst) { KX_Base::Convert_fi(src, dst); }
inline void Convert(const MatFloat& src, MatInt& dst) { KX_Base::Convert_fi(src, dst); }
/// @}

#endif
