// A program that says `using namespace cv;` beside the library, before its headers where DIRECTIVE_FIRST is
// defined, and behind them otherwise. It is compiled, not run. The namespace has the names that OpenCV shares
// with the library or with what the library is made of; BESIDE_OPENCV takes OpenCV itself, where that is
// installed.
#ifdef BESIDE_OPENCV
#include <opencv2/core.hpp>
#else
// NOLINTBEGIN(readability-identifier-naming): the other library's names
namespace cv {

struct Exception {};
class Mat {
public:
    int rows = 0;
};
template <class T, int n> struct Vec {
    T val[n];
};
template <class T> struct Size_ {
    T width, height;
};
using Size = Size_<int>;
struct RNG {
    int uniform(int from, int to) { return from + to; }
};
struct Range {};
struct Family {};
enum Shape { round };
using uchar = unsigned char;
void error(const Exception&);
double Sum(const Mat&);
double Max(const Mat&);
Mat Abs(const Mat&);
template <class T> T WrapAdd(T, T);

} // namespace cv

// NOLINTEND(readability-identifier-naming)
#endif

#ifdef DIRECTIVE_FIRST
using namespace cv;
#endif

#include <Kavrix/Kavrix.h>
#include <Telvane/Telvane.h>

#ifndef DIRECTIVE_FIRST
using namespace cv;
#endif

int UseBoth();
int UseBoth()
{
    Mat theirs;
    Vec<int, 3> triple = {};
    cv::RNG random;
    cv::Size size = {};

    MatShort ours(4, 3);
    ours.Fill(7);
    MatShort part = ours(::RNG(0, 1), ::RNG::All());
    part += short(1);
    const VecShort row = ::RNG(0, 4);
    const VecInt sizes = ::Size(ours);
    if (sizes(0) != 4) error(1, "a picture has its size");
    CubByte seq(4, 3, 2);
    VecInt region(0, 0, 4, 3, 1);
    return theirs.rows + triple.val[0] + random.uniform(0, 1) + size.width + Max(Max(ours)) + Sum(row) +
           Abs(ours)(0, 0) + Mask(seq, region, nullptr, 0);
}
