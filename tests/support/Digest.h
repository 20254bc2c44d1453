// Checksums of results that have to be the same on every machine: FNV-1a, 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

class Digest {
public:
    /// Numbers enter by their value, lowest byte first, however the machine stores them.
    template <class T> Digest& Add(T value)
    {
        auto bits = static_cast<std::uint64_t>(value);
        for (std::size_t i = 0; i < sizeof value; i++) {
            state = (state ^ (bits & 255)) * 0x100000001B3u;
            bits >>= 8;
        }
        return *this;
    }
    template <class Values> Digest& AddAll(const Values& values)
    {
        for (const auto value : values) Add(value);
        return *this;
    }

    std::uint64_t Value() const { return state; }
    std::string Text() const
    {
        char text[17];
        std::snprintf(text, sizeof text, "%08lx%08lx", static_cast<unsigned long>(state >> 32),
                      static_cast<unsigned long>(state & 0xFFFFFFFFu));
        return text;
    }

private:
    std::uint64_t state = 0xCBF29CE484222325u;
};
