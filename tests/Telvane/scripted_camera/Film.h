// What the camera of film.cpp shows: bytes that differ from pixel to pixel and from grab to grab.
#ifndef TESTS_SCRIPTED_CAMERA_FILM_H
#define TESTS_SCRIPTED_CAMERA_FILM_H

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t filmWidth = 1280, filmHeight = 960;

/// The file in the working folder that gets a line for every call of the camera.
inline constexpr char filmLog[] = "camera.log";

/// Where this file is in the working folder the camera falls off: it holds the number of grabs that still
/// succeed, and "null" where there is no buffer after them either; otherwise the last one stays.
inline constexpr char filmFault[] = "camera.fault";

/// Byte `index` of the buffer after that many grabs.
inline unsigned char FilmByte(int grabs, std::size_t index)
{
    std::uint32_t n =
        static_cast<std::uint32_t>(index) * 2654435761u + static_cast<std::uint32_t>(grabs) * 40503u;
    n ^= n >> 15;
    n *= 2246822519u;
    return static_cast<unsigned char>(n >> 24);
}

#endif
