// IMG files. The plain version of their first line is the C library's own scanner.
#include <fuzz/Harness.h>

#include <Kavrix/Kavrix.h>

#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

namespace {

// What comes of a file: the message of the fail-stop, or a picture.
struct Plain {
    std::string message;
    std::int64_t width = 0, height = 0;
    FileBytes pixels;
};

bool HoldsALongNumber(const FileBytes& file)
{
    int digits = 0;
    for (const std::uint8_t c : file) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (digits > 18) return true;
    }
    return false;
}

Plain ReadPlainly(const FileBytes& file)
{
    Plain plain;
    const int fd = memfd_create("plain", MFD_CLOEXEC);
    if (write(fd, file.data(), file.size()) != static_cast<ssize_t>(file.size()) ||
        lseek(fd, 0, SEEK_SET) != 0)
        Require(false, "a file in memory can be written");
    std::FILE* const fp = fdopen(fd, "rb");
    if (std::fscanf(fp, "image %" SCNd64 "*%" SCNd64 "*8\r\n", &plain.width, &plain.height) < 0)
        plain.width = plain.height = 0;
    char line[1025];
    bool data = false;
    while (!data && std::fgets(line, sizeof line, fp)) data = std::strncmp(line, "data", 4) == 0;
    if (data) {
        for (int c; (c = std::getc(fp)) != EOF;) plain.pixels.push_back(static_cast<std::uint8_t>(c));
    } else {
        plain.message = "load_from_image_file: file doesn't contain \"data\"";
    }
    std::fclose(fp);
    return plain;
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    static const char* const names[] = {"picture.img", "picture.IMG", "a.b.img", "picture.Img",
                                        "picture",     ".",           "img",     ""};
    const std::string name = names[input.ConsumeIntegral<std::uint8_t>() % 32 < 8
                                       ? input.ConsumeIntegralInRange<std::size_t>(0, std::size(names) - 1)
                                       : 0];
    const FileBytes file = input.ConsumeRemainingBytes<std::uint8_t>();
    const bool missing = name.empty();
    if (!missing) files[name] = file;

    MatByte m;
    const Ending ending = RunToItsEnd([&] { m.load_from_image_file(name.c_str()); });
    const auto halts = [&ending](const std::string& what) {
        return ending.HaltedWith("load_from_image_file: " + what);
    };
    const std::size_t dot = name.rfind('.');
    if (missing) {
        Require(halts("file not existing"), "a file that is not there halts");
    } else if (dot == std::string::npos) {
        Require(halts("file name doesn't contain a suffix"), "a name without a suffix halts");
    } else if (name.substr(dot) != ".img" && name.substr(dot) != ".IMG") {
        Require(halts("file format not recognized"), "another suffix halts");
    } else if (!HoldsALongNumber(file)) { // the C library leaves open what becomes of those
        const Plain plain = ReadPlainly(file);
        const auto isInt = [](std::int64_t number) { return number >= 0 && number <= INT_MAX; };
        const bool sized = isInt(plain.width) && isInt(plain.height);
        const std::int64_t pixels = sized ? plain.width * plain.height : 0;
        if (!plain.message.empty()) {
            Require(ending.HaltedWith(plain.message), "a file without data halts");
        } else if (!sized || pixels > INT_MAX) {
            Require(halts("file too small"), "a size that no file has halts");
        } else if (ending.HaltedWith(notEnoughMemory)) {
            Require(pixels + static_cast<std::int64_t>(sizeof(Datablock)) >
                        static_cast<std::int64_t>(storage.limit),
                    "memory is short only for large pictures");
        } else if (pixels > static_cast<std::int64_t>(plain.pixels.size())) {
            Require(halts("file too small"), "a file that is too short halts");
        } else {
            Require(ending.returned && m.dim1 == plain.width && m.dim2 == plain.height,
                    "the matrix takes the size");
            for (int y = 0; y < m.dim2 && m.dim1 > 0; y++)
                for (int x = 0; x < m.dim1; x++)
                    Require(m(x, y) == plain.pixels[static_cast<std::size_t>(std::int64_t{y} * m.dim1 + x)],
                            "pixels lie row after row");
        }
    }
}
