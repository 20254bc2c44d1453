// Reductions of byte arrays and drawing into byte pictures.
#include <Kavrix/KXubyte.h>

#include <Kavrix/inner/KXdraw-inl.h>
#include <Kavrix/inner/KXreduce-inl.h>

using namespace kavrix::inner;

UBYTE Dot(const VecByte& a, const VecByte& b) { return DotOf(a, b); }

void MatByte::DrawCross(short x, short y, UBYTE color, char style) { Marker(*this, x, y, color, style); }

void MatByte::DrawLine(short x1, short y1, short x2, short y2, UBYTE color)
{
    Line(*this, x1, y1, x2, y2, color);
}
