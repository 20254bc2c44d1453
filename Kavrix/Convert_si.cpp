// Conversions between shorts, ints and floats.
#include <Kavrix/Convert_si.h>

#include <Kavrix/inner/Convert-inl.h>

using namespace kavrix::inner;

void KX_Base::Convert_si(const KX_Base& src, KX_Base& dst) { ConvertElements<short, int>(src, dst); }
void KX_Base::Convert_is(const KX_Base& src, KX_Base& dst) { ConvertElements<int, short>(src, dst); }
void KX_Base::Convert_sf(const KX_Base& src, KX_Base& dst) { ConvertElements<short, float>(src, dst); }
void KX_Base::Convert_fs(const KX_Base& src, KX_Base& dst) { ConvertElements<float, short>(src, dst); }
void KX_Base::Convert_if(const KX_Base& src, KX_Base& dst) { ConvertElements<int, float>(src, dst); }
void KX_Base::Convert_fi(const KX_Base& src, KX_Base& dst) { ConvertElements<float, int>(src, dst); }
