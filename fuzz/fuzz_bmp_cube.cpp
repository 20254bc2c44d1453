// 24-bit BMP files into cubes of three planes.
#include <fuzz/BmpReading.h>

#include <tests/reference/Files.h>

void Fuzz(FuzzedDataProvider& input)
{
    static const BmpReader<UBYTE, CubByte> reader{
        3,
        "Resize_ubyte: Object cannot be resized, data are referenced by another object",
        [](const FileBytes& file, int oldWidth) {
            const reference::BmpColourFile plain = reference::ReadBmpColour(file, oldWidth);
            PlainFile<UBYTE> f{plain.result, plain.width, plain.height, {}};
            for (const auto& plane : plain.planes)
                if (!plane.Empty()) f.planes.push_back(plane.a);
            return f;
        },
        [](int w, int h) { return CubByte(w, h, 3); },
        [](const CubByte& image, RNG x, RNG y) { return image(x, y, RNG::All()); },
        [](const CubByte& a, int x, int y, int z) -> const UBYTE& { return a(x, y, z); },
    };
    FuzzBmpReader(input, reader);
}
