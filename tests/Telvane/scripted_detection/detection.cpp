// Masks and detection of a program that only writes down what it was asked, in detection.log. What the
// detection answers stands in detection.txt in the working folder: its result, the region, and the size of
// each picture.
#include <Telvane/Telvane.h>

#include <cstdio>
#include <fstream>

namespace {

const char logName[] = "detection.log", scriptName[] = "detection.txt";

void Write(std::FILE* log, const char* name, const VecInt& v)
{
    std::fprintf(log, "%s", name);
    for (int i = 0; i < v.dim1; i++) std::fprintf(log, " %d", v(i));
    std::fprintf(log, "\n");
}

template <class M> void Fill(M& m, std::ifstream& script)
{
    int width = 0, height = 0;
    if (!(script >> width >> height) || width + height == 0) return;
    m.Resize(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) m(x, y) = static_cast<UBYTE>(7 * x + 31 * y);
}

} // namespace

int Mask(CubByte seq, VecInt iroi, VecInt* oroiArr, int oroiCount)
{
    std::FILE* const log = std::fopen(logName, "a");
    if (!log) return 0;
    std::fprintf(log, "Mask\nseq %d %d %d\n", seq.dim1, seq.dim2, seq.dim3);
    Write(log, "iroi", iroi);
    for (int k = 0; k < oroiCount; k++) Write(log, "rectangle", oroiArr[k]);
    std::fclose(log);
    seq.Fill(1); // the detection must see it
    return 0;
}

int Detect(int roiNr, CubByte seq, bool use_periods, VecInt periods, VecInt iroi, VecFloat params,
           VecInt& oroi, MatByte& detected, MatShort& hough, MatShort& u_sum_sh, MatShort& v_sum_sh,
           MatShort& mag_sh, MatShort& bgShort)
{
    std::FILE* const log = std::fopen(logName, "a");
    if (!log) return 0;
    std::fprintf(log, "Detect %d\nseq %d %d %d, grey %d\n", roiNr, seq.dim1, seq.dim2, seq.dim3,
                 int{seq(0, 0, 0)});
    Write(log, use_periods ? "periods, used" : "periods", periods);
    Write(log, "iroi", iroi);
    std::fprintf(log, "params");
    for (int i = 0; i < params.dim1; i++) std::fprintf(log, " %.9g", static_cast<double>(params(i)));
    std::fprintf(log, "\noroi %d\n", oroi.dim1);
    bool empty = detected.dim1 == 0;
    for (const MatShort* const m : {&hough, &u_sum_sh, &v_sum_sh, &mag_sh, &bgShort})
        empty = empty && m->dim1 == 0;
    std::fprintf(log, "%s\n", empty ? "empty pictures" : "pictures");
    std::fclose(log);

    std::ifstream script(scriptName);
    int result = 0;
    script >> result;
    for (int i = 0; i < oroi.dim1; i++) script >> oroi(i);
    Fill(detected, script);
    for (MatShort* const m : {&hough, &u_sum_sh, &v_sum_sh, &mag_sh, &bgShort}) Fill(*m, script);
    return result;
}
