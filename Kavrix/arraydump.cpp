// The dump of an array of any element type.
#include <Kavrix/KXcommon.h>

#include <Kavrix/inner/bmpformat.h>

#include <cstddef>
#include <cstring>
#include <initializer_list>

using namespace kavrix::inner;

namespace {

template <class Int> void WriteNumber(std::FILE* fp, Int value)
{
    unsigned char bytes[sizeof(Int)];
    PutLittleEndian(bytes, value);
    std::fwrite(bytes, 1, sizeof bytes, fp);
}

// The elements as integers of their width; floats bit by bit.
template <class Int> void WriteElements(std::FILE* fp, const KX_Base& a)
{
    for (int z = 0; z < a.dim3; z++) {
        for (int y = 0; y < a.dim2; y++) {
            for (int x = 0; x < a.dim1; x++) {
                const std::ptrdiff_t position =
                    std::ptrdiff_t{x} * a.step1 + std::ptrdiff_t{y} * a.step2 + std::ptrdiff_t{z} * a.step3;
                Int value;
                std::memcpy(&value, a.p_B_data + position * std::ptrdiff_t{sizeof value}, sizeof value);
                WriteNumber(fp, value);
            }
        }
    }
}

} // namespace

int KX_Base::Write(std::FILE* fp) const
{
    if (fp == nullptr) return 1;
    std::fwrite("idc_", 1, 4, fp);
    std::fwrite(&poolObjType, 1, 1, fp);
    std::fwrite(myName, 1, sizeof myName, fp);
    for (const int size : {dim1, dim2, dim3}) WriteNumber(fp, static_cast<std::uint16_t>(size));

    if (dim1 < 1 || dim2 < 1 || dim3 < 1) return 0;
    if (p_data == nullptr || pblock == nullptr) return 1;
    switch (pblock->itemsize) {
    case 1: WriteElements<std::uint8_t>(fp, *this); break;
    case 2: WriteElements<std::uint16_t>(fp, *this); break;
    case 4: WriteElements<std::uint32_t>(fp, *this); break;
    default: break;
    }
    return 0;
}
