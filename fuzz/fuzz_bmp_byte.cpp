// 8-bit BMP files into matrices of bytes.
#include <fuzz/BmpReading.h>

#include <tests/reference/Files.h>

void Fuzz(FuzzedDataProvider& input)
{
    static const BmpReader<UBYTE, MatByte> reader{
        1,
        "Resize_ubyte: Object cannot be resized, data are referenced by another object",
        [](const FileBytes& file, int) {
            const reference::BmpFile plain = reference::ReadBmpByte(file);
            PlainFile<UBYTE> f{plain.result, plain.width, plain.height, {}};
            if (!plain.picture.Empty()) f.planes = {plain.picture.a};
            return f;
        },
        [](int w, int h) { return MatByte(w, h); },
        [](const MatByte& image, RNG x, RNG y) { return image(x, y); },
        [](const MatByte& a, int x, int y, int) -> const UBYTE& { return a(x, y); },
    };
    FuzzBmpReader(input, reader);
}
