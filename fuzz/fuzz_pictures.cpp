// The picture files of a run, as telvane-report reads them. The input is a file; its last bytes say of which
// kind it is to be, and of which size.
#include <fuzz/Harness.h>

#include <report/Pictures.h>

#include <tests/support/Pictures.h>

#include <tests/reference/Files.h>

#include <cstring>

using namespace telvane;

namespace {

std::uint32_t Number(const FileBytes& file, std::size_t at, std::size_t bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; i++) value |= std::uint32_t{file[at + i]} << (8 * i);
    return value;
}

/// Whether it is a BMP file of this kind and size with all of its rows.
bool IsBmp(const FileBytes& file, std::uint32_t bits, std::uint32_t compression, int width, int height,
           std::size_t rowBytes, std::size_t lowest)
{
    if (file.size() < 54 || file[0] != 'B' || file[1] != 'M' || Number(file, 14, 4) != 40) return false;
    const std::size_t begin = Number(file, 10, 4);
    return Number(file, 18, 4) == static_cast<std::uint32_t>(width) &&
           Number(file, 22, 4) == static_cast<std::uint32_t>(height) && Number(file, 28, 2) == bits &&
           Number(file, 30, 4) == compression && begin >= lowest &&
           begin + rowBytes * static_cast<std::size_t>(height) <= file.size();
}

void TryFrame(const FileBytes& file, int width, int height)
{
    MatByte frame;
    std::string problem;
    const Ending ending = RunToItsEnd(
        [&] { problem = ReadFrame(std::string(file.begin(), file.end()), width, height, frame); });
    Require(ending.returned, "no frame ends the report");
    const bool is = IsBmp(file, 8, 0, width, height, static_cast<std::size_t>(width), 0);
    const reference::BmpFile plain = is ? reference::ReadBmpByte(file) : reference::BmpFile();
    Require(problem.empty() == (is && plain.result == 0),
            "the frame is read where the plain reader reads it");
    if (problem.empty()) Require(pictures::Same(frame, plain.picture), "frame");
    else Require(is || frame.pblock == nullptr, "a file of another size or kind is given no room");
}

void TryShorts(const FileBytes& file, int width, int height)
{
    MatShort picture;
    std::string problem;
    const Ending ending = RunToItsEnd(
        [&] { problem = ReadShortPicture(std::string(file.begin(), file.end()), width, height, picture); });
    Require(ending.returned, "no picture ends the report");
    const std::size_t rowBytes = (2 * static_cast<std::size_t>(width) + 3) & ~std::size_t{3};
    const bool is = IsBmp(file, 16, 3, width, height, rowBytes, 66);
    Require(problem.empty() == is, "the picture is read where all of it is there");
    if (!is) return Require(picture.pblock == nullptr, "a file that is refused is given no room");
    bool same = picture.dim1 == width && picture.dim2 == height;
    for (int y = 0; y < height && same; y++) {
        const std::size_t row = Number(file, 10, 4) + rowBytes * static_cast<std::size_t>(height - 1 - y);
        for (int x = 0; x < width; x++)
            same = same && static_cast<std::uint16_t>(picture(x, y)) ==
                               Number(file, row + 2 * static_cast<std::size_t>(x), 2);
    }
    Require(same, "its numbers are the file's");
}

void TryJpeg(const FileBytes& file, int width, int height)
{
    const std::string bytes(file.begin(), file.end());
    MatByte frame;
    std::string problem;
    const Ending ending = RunToItsEnd([&] { problem = ReadJpegFrame(bytes, width, height, frame); });
    Require(ending.returned && ending.err.empty(), "no JPEG file ends the report, or speaks");
    if (!problem.empty()) {
        Require(!problem.starts_with("of ") || frame.pblock == nullptr,
                "a file of another size is not decoded");
        return;
    }
    Require(frame.dim1 == width && frame.dim2 == height, "the frame has the size that was asked for");
    std::string written;
    RunToItsEnd([&] { written = GreyJpeg(frame); });
    MatByte again;
    RunToItsEnd([&] { problem = ReadJpegFrame(written, width, height, again); });
    Require(problem.empty() && again.dim1 == width && again.dim2 == height, "what is written is read");
    RunToItsEnd([&] { problem = ReadJpegFrame(written, width + 1, height, again); });
    Require(problem.starts_with("of "), "as a picture of its size");
    RunToItsEnd(
        [&] { problem = ReadJpegFrame(written.substr(0, written.size() - 2), width, height, again); });
    Require(!problem.empty(), "and whole");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    const int kind = input.ConsumeIntegral<std::uint8_t>();
    const int width = input.ConsumeIntegralInRange(1, 40), height = input.ConsumeIntegralInRange(1, 40);
    const FileBytes file = input.ConsumeRemainingBytes<std::uint8_t>();
    if (kind % 3 == 0) TryFrame(file, width, height);
    else if (kind % 3 == 1) TryShorts(file, width, height);
    else TryJpeg(file, width, height);
}
