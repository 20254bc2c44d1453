// 16-bit BMP files into matrices of shorts.
#include <fuzz/BmpReading.h>

#include <tests/reference/Files.h>

void Fuzz(FuzzedDataProvider& input)
{
    static const BmpReader<short, MatShort> reader{
        1,
        "Resize_short: Object cannot be resized, data are referenced by another object",
        [](const FileBytes& file, int) {
            const reference::BmpShortFile plain = reference::ReadBmpShort(file);
            PlainFile<short> f{plain.result, plain.width, plain.height, {}};
            if (!plain.picture.Empty()) f.planes = {plain.picture.a};
            return f;
        },
        [](int w, int h) { return MatShort(w, h); },
        [](const MatShort& image, RNG x, RNG y) { return image(x, y); },
        [](const MatShort& a, int x, int y, int) -> const short& { return a(x, y); },
    };
    FuzzBmpReader(input, reader);
}
