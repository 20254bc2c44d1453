// Construction, assignment and views of the arrays of KXubyte.h.
#include <Kavrix/KXubyte.h>

#include <Kavrix/inner/KXarray-inl.h>

using namespace kavrix::inner;

template class kavrix::Vec<UBYTE>;
template class kavrix::Mat<UBYTE>;
template class kavrix::Cub<UBYTE>;

MatByte& MatByte::Trans()
{
    SwapColumnsAndRows();
    return *this;
}

void MatByte::Attach_to_raw_image(unsigned char* data, int w, int h) { Attach(data, sizeof *data, w, h); }

void MatByte::Detach_from_raw_image() { Detach(); }
