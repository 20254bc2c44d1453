// Loading, and what is expected of each file.
#include <report/RunFiles.h>

#include <report/Pictures.h>
#include <tools/Files.h>

#include <filesystem>

namespace telvane {

namespace {

const char marked[] = "detected.jpg";

} // namespace

bool RunFiles::LoadMarked(Picture& picture)
{
    picture = {"image/jpeg", "", 0, 0};
    const std::string name = folder.Path(marked);
    return Load(name, picture.bytes, "the marked picture, which every detection writes") &&
           problems.Accept(name, CheckJpeg(picture.bytes, picture.width, picture.height),
                           "a whole JPEG file");
}

std::string RunFiles::MarkedWritten() const { return LastWritten(folder.Path(marked)); }

bool RunFiles::LoadNumbers(const std::string& name, const std::string& expected, MatShort& numbers)
{
    std::string file;
    const std::string path = folder.Path(name);
    if (!Load(path, file, expected) || !problems.Accept(path, ReadShortPicture(file, numbers),
                                                        "a 16-bit picture as a run with -s writes it"))
        return false;
    // A run writes the marked picture first.
    if (Older(path, folder.Path(marked)))
        problems.Doubt(path, "older than detected.jpg", "a file of the same run");
    return true;
}

bool RunFiles::CheckFlow(const MatShort& u, const MatShort& v)
{
    const bool sameSize = u.dim1 == v.dim1 && u.dim2 == v.dim2;
    return problems.Accept(folder.Path("v_sum_sh.bmp"), sameSize ? "" : "of another size than u_sum_sh.bmp",
                           "both parts of one flow");
}

bool RunFiles::LoadFrame(const std::string& name, Picture& picture)
{
    std::string file;
    if (!Load(name, file, "a frame of the run, an 8-bit grey BMP or a JPEG file")) return false;
    picture = {"image/jpeg", "", 0, 0};
    if (std::filesystem::path(name).extension() == ".jpg") {
        picture.bytes = file;
        return problems.Accept(name, CheckJpeg(file, picture.width, picture.height), "a whole JPEG file");
    }
    MatByte frame;
    if (!problems.Accept(name, ReadFrame(file, frame), "an uncompressed 8-bit grey BMP")) return false;
    picture = {"image/jpeg", GreyJpeg(frame), frame.dim1, frame.dim2};
    return true;
}

bool RunFiles::Load(const std::string& name, std::string& file, const std::string& expected)
{
    return problems.Accept(name, ReadWhole(name, file), expected);
}

} // namespace telvane
