// Filters a picture through views: parts of it, every second pixel of it, its mirror image.
//
//     filter_views [picture.bmp]
//
// Takes an 8-bit grey BMP of at least 16 x 16 pixels, or draws rings, and writes into the current folder
//
//     picture.bmp    the picture as it was
//     smoothed.bmp   its right half smoothed
//     edges.bmp      the change from each column to the next; 128 where there is none
//     small.bmp      every second pixel of every second row of smoothed.bmp
//     mirrored.bmp   smoothed.bmp with left and right exchanged
#include <Kavrix/Kavrix.h>

#include <cstdio>

namespace {

// Rings that get narrower outwards. (column, row) gives the pixel itself, to read and to write.
MatByte DrawRings()
{
    MatByte picture(320, 240); // width, height; not cleared
    for (int y = 0; y < picture.dim2; y++) {
        for (int x = 0; x < picture.dim1; x++) {
            const int dx = x - 160, dy = y - 120;
            picture(x, y) = (dx * dx + dy * dy) / 800 % 2 == 0 ? 220 : 40;
        }
    }
    return picture; // no pixel is copied
}

// BMP functions give 0 for success; see bmpwrite.h for the other results.
bool Write(const MatByte& picture, const char* fname)
{
    const int result = picture.WriteBMP(fname);
    if (result != 0) std::fprintf(stderr, "%s cannot be written (%d)\n", fname, result);
    else std::printf("%-13s %4d x %d\n", fname, picture.dim1, picture.dim2);
    return result == 0;
}

} // namespace

int main(int argc, char* argv[])
{
    MatByte picture;
    if (argc > 1) {
        const int result = picture.ReadBMP(argv[1]);
        if (result != 0) {
            std::fprintf(stderr, "%s cannot be read as an 8-bit BMP (%d)\n", argv[1], result);
            return 1;
        }
    } else {
        picture = DrawRings(); // an empty matrix takes the size of what is assigned to it
    }
    const int width = picture.dim1, height = picture.dim2;
    if (width < 16 || height < 16) {
        std::fprintf(stderr, "the picture is too small\n");
        return 1;
    }
    const RNG all = RNG::All(); // the whole of a dimension

    // `MatByte smoothed = picture;` would be a second view of the same pixels. An assignment copies them.
    MatByte smoothed;
    smoothed = picture;

    // The right half is a view: a small descriptor that points into `smoothed`.
    MatByte right = smoothed(RNG(width / 2, width - 1), all);

    // Four passes each way weigh 5 x 5 pixels. The result is 4 columns and 4 rows smaller; its pixel (x, y)
    // belongs to (x + 2, y + 2) of the source, so it goes back into the inside of the half.
    const MatShort soft = FastFilter(right, 4, 4);
    MatByte inside = right(RNG(2, right.dim1 - 3), RNG(2, right.dim2 - 3));
    Convert(soft, inside); // shorts to bytes, written through the view into `smoothed`

    // A negative count asks for a difference: -255 .. 255 here, brought to 1 .. 255 around 128. Scalars carry
    // the type of the elements.
    MatShort change = FastFilter(picture, -1, 0);
    change /= short(2);
    change += short(128);
    MatByte edges;
    Convert(change, edges);

    // Ranges may have steps, negative ones too; writing such a view needs no copy.
    const MatByte small = smoothed(RNG(0, width - 1, 2), RNG(0, height - 1, 2));
    const MatByte mirrored = smoothed(RNG(width - 1, 0, -1), all);

    const bool written = Write(picture, "picture.bmp") && Write(smoothed, "smoothed.bmp") &&
                         Write(edges, "edges.bmp") && Write(small, "small.bmp") &&
                         Write(mirrored, "mirrored.bmp");
    return written ? 0 : 1;
}
