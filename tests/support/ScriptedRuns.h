// Runs of the program between the test's own parts: what the film's camera shows, and what the detection that
// only answers draws.
#pragma once

#include <tests/support/ProgramRuns.h>

#include <tests/Telvane/scripted_camera/Film.h>

#include <tests/reference/Picture.h>

#include <cstddef>
#include <cstdint>

/// The grey frame after that many grabs.
inline BytePicture FilmFrame(int grabs)
{
    BytePicture picture(static_cast<int>(filmWidth), static_cast<int>(filmHeight));
    for (std::size_t i = 0; i < picture.a.size(); i++) {
        const int b0 = FilmByte(grabs, 3 * i), b1 = FilmByte(grabs, 3 * i + 1),
                  b2 = FilmByte(grabs, 3 * i + 2);
        picture.a[i] = static_cast<std::uint8_t>((b0 + 4 * b1 + 3 * b2) / 8);
    }
    return picture;
}

/// The picture that the detection answers with.
template <class T> reference::Picture<T> Answer(int width, int height)
{
    reference::Picture<T> picture(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) picture.At(x, y) = static_cast<std::uint8_t>(7 * x + 31 * y);
    return picture;
}
