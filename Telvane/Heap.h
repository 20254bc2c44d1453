// The memory of a run.
#ifndef TELVANE_HEAP_H
#define TELVANE_HEAP_H

#include <Telvane/Frames.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <malloc.h>
#include <sys/mman.h>

namespace telvane {

/// Has malloc take the pictures of a run of `count` frames from one heap, which keeps for the next stage what
/// one frees, and asks for large pages under it. Otherwise each picture is mapped and unmapped by itself, a
/// fault for every 4 KB: a third of the time of a run. No result depends on it, and where there is no such
/// thing, or too little memory, nothing happens.
inline void PrepareHeap([[maybe_unused]] int count)
{
#if defined(__GLIBC__) && defined(MADV_HUGEPAGE)
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, INT32_MAX);

    // The frames, and what else lives at a time: sums, scaled flow, votes. More is asked for when it is
    // needed. A block of that size, freed at once, makes the heap as large before any of its pages is
    // touched.
    const std::size_t pixels = std::size_t{frameWidth} * frameHeight;
    const std::size_t size = (static_cast<std::size_t>(count) + 20) * pixels;
    void* const block = std::malloc(size);
    if (block == nullptr) return;
    const std::size_t page = std::size_t{1} << 21; // a large one
    void* begin = block;
    std::size_t space = size;
    if (std::align(page, page, begin, space) != nullptr) madvise(begin, space / page * page, MADV_HUGEPAGE);
    std::free(block);
#endif
}

} // namespace telvane

#endif
