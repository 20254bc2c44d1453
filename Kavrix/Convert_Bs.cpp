// Conversions from and to bytes.
#include <Kavrix/Convert_Bs.h>

#include <Kavrix/inner/Convert-inl.h>

using namespace kavrix::inner;

void KX_Base::Convert_Bs(const KX_Base& src, KX_Base& dst) { ConvertElements<UBYTE, short>(src, dst); }
void KX_Base::Convert_sB(const KX_Base& src, KX_Base& dst) { ConvertElements<short, UBYTE>(src, dst); }
void KX_Base::Convert_Bi(const KX_Base& src, KX_Base& dst) { ConvertElements<UBYTE, int>(src, dst); }
void KX_Base::Convert_iB(const KX_Base& src, KX_Base& dst) { ConvertElements<int, UBYTE>(src, dst); }
void KX_Base::Convert_Bf(const KX_Base& src, KX_Base& dst) { ConvertElements<UBYTE, float>(src, dst); }
void KX_Base::Convert_fB(const KX_Base& src, KX_Base& dst) { ConvertElements<float, UBYTE>(src, dst); }
