// Marks a picture with lines and markers.
//
//     draw_marks [picture.bmp]
//
// Takes an 8-bit grey BMP of at least 64 x 64 pixels, or a dark one of its own, and writes it with the marks
// into the current folder as marked.bmp and marked.tif.
#include <Kavrix/Kavrix.h>

#include <cstdio>

int main(int argc, char* argv[])
{
    MatByte picture(200, 150);
    picture.Fill(40);
    if (argc > 1) {
        const int result = picture.ReadBMP(argv[1]); // takes the size of the file
        if (result != 0) {
            std::fprintf(stderr, "%s cannot be read as an 8-bit BMP (%d)\n", argv[1], result);
            return 1;
        }
    }
    if (picture.dim1 < 64 || picture.dim2 < 64) {
        std::fprintf(stderr, "the picture is too small\n");
        return 1;
    }
    // Coordinates of marks have 16 bits; this is for pictures up to 32767 pixels wide and high.
    const short right = short(picture.dim1 - 1), bottom = short(picture.dim2 - 1);
    const short cx = static_cast<short>(right / 2), cy = static_cast<short>(bottom / 2);
    const UBYTE white = 255, light = 200, black = 0;

    // A frame, 4 pixels from the edge. Both ends of a line are drawn.
    picture.DrawLine(4, 4, short(right - 4), 4, white);
    picture.DrawLine(4, short(bottom - 4), short(right - 4), short(bottom - 4), white);
    picture.DrawLine(4, 4, 4, short(bottom - 4), white);
    picture.DrawLine(short(right - 4), 4, short(right - 4), short(bottom - 4), white);

    // Lines may leave the picture: what lies outside is left out.
    picture.DrawLine(-1000, short(cy - 20), 32767, short(cy - 20), light);

    // Markers reach 3 pixels to each side and are drawn whole or, nearer to the edge, not at all.
    picture.DrawCross(cx, cy, white, '+');
    picture.DrawCross(short(cx - 12), cy, white, 'x');
    picture.DrawCross(short(cx + 12), cy, white, 'o');
    picture.DrawCross(2, 2, white, '+'); // too near: nothing
    picture.DrawCross(0, 0, white, '.'); // any other character: one pixel

    // A view has coordinates of its own, and what is drawn on it stays inside of it.
    MatByte corner = picture(RNG(8, 23), RNG(8, 23));
    corner.Fill(light);
    corner.DrawLine(-8, -8, 40, 40, black);
    corner.DrawLine(40, -25, -25, 40, black);

    if (picture.WriteBMP("marked.bmp") != 0) {
        std::fprintf(stderr, "marked.bmp cannot be written\n");
        return 1;
    }
    picture.WriteTIFF("marked.tif"); // stops the program where it fails
    std::printf("marked.bmp and marked.tif, %d x %d\n", picture.dim1, picture.dim2);
    return 0;
}
