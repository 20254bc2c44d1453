// Memory for those who ask for arrays with std::nothrow: it can be refused, and holds no zeros when it is
// granted. Included once in a test program.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>

/// As long as it lives, such arrays are refused after so many were granted.
class RefusedMemory {
public:
    explicit RefusedMemory(int granted = 0) { left = granted; }
    ~RefusedMemory() { left = unlimited; }
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;

    static bool Take() { return left == unlimited || left-- > 0; }

private:
    static constexpr int unlimited = -1000000;
    static inline std::atomic<int> left{unlimited};
};

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    if (!RefusedMemory::Take()) return nullptr;
    try {
        return std::memset(::operator new[](size), 0xA5, size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
