// A program with names of its own beside the library, defined before the library's headers where
// OWN_NAMES_FIRST is defined, and behind them otherwise. It is compiled, not run.
#ifdef OWN_NAMES_FIRST
#include <tests/compile/OwnNames.h>
#endif

#include <Kavrix/Kavrix.h>
#include <Telvane/Telvane.h>

#include <tests/compile/OwnNames.h>

int UseBoth();
int UseBoth()
{
    // Its own, for arrays of the library as well.
    Vec<int> point{1, 2, 3};
    Mat<short, 3> column{};
    Cub cube{4};
    const MatShort picture = All(short(7), 4, 3);
    VecShort values(5, 1, 4);
    int sum =
        point.x + column.elements[0] + cube.edge + oneInt + ComposeErrorLine("line") + NotEnoughMemory();
    sum += ShapeOf(picture) == Shape::round && IsEmpty(picture);
    sum += Constant(picture, 1) + Computed(picture) + InPlace(picture) + SumOf(values) + FloatToInt(picture);
    sum +=
        SelectRank(values, 3, 1) + Elementwise(picture, picture) + Quotient(7, 0) + Product(picture, values);

    // The library's.
    MatShort half = picture / short(2);
    half(RNG(0, 1), RNG::All()).Fill(0);
    VecInt region(0, 0, 4, 3, 1);
    VecFloat params(14);
    CubByte seq(4, 3, 2);
    return sum + half(2, 2) + Max(values) + Size(picture)(0) + Mask(seq, region, nullptr, 0) + params.dim1;
}
