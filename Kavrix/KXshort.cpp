// Construction, assignment and views of the arrays of KXshort.h.
#include <Kavrix/KXshort.h>

#include <Kavrix/inner/KXarray-inl.h>

using namespace kavrix::inner;

template class kavrix::Vec<short>;
template class kavrix::Mat<short>;
template class kavrix::Cub<short>;

MatShort& MatShort::Trans()
{
    SwapColumnsAndRows();
    return *this;
}

void MatShort::Attach_to_raw_image(short* data, int w, int h) { Attach(data, sizeof *data, w, h); }

void MatShort::Detach_from_raw_image() { Detach(); }
