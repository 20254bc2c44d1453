// Allocation, reference counting and accounting of the storage blocks.
#include <Kavrix/Datablock.h>

#include <Kavrix/KXcommon.h>
#include <Kavrix/inner/NotEnoughMemory.h>

#include <cstdint>
#include <cstdlib>
#include <new>

using namespace kavrix::inner;

unsigned Datablock::mem = 0;
unsigned Datablock::maxMem = 0;
Datablock* Datablock::first = nullptr;
Datablock* Datablock::last = nullptr;
int Datablock::nblocks = 0;

namespace {

unsigned AccountedBytes(unsigned short itemsize, int len)
{
    return static_cast<unsigned>(len) * itemsize + Datablock::headerSize;
}

} // namespace

Datablock* Datablock::create(KX_Base*, unsigned short itemsize, int len)
{
    // In 64 bits, so that no size wraps into a small one, also where pointers have 32.
    const std::int64_t bytes = std::int64_t{len} * itemsize + std::int64_t{sizeof(Datablock)};
    void* piece = nullptr;
    if (len >= 0 && bytes <= PTRDIFF_MAX) piece = std::malloc(static_cast<std::size_t>(bytes));
    if (piece == nullptr) NotEnoughMemory();

    Datablock* block = new (piece) Datablock;
    block->nrefs = 1;
    block->ptr = block + 1;
    block->len = len;
    block->itemsize = itemsize;

    mem += AccountedBytes(itemsize, len);
    if (mem > maxMem) maxMem = mem;
    nblocks++;

    block->prev = last;
    block->next = nullptr;
    (last ? last->next : first) = block;
    last = block;
    return block;
}

void Datablock::addRef(KX_Base*, Datablock* pblock)
{
    if (pblock == nullptr) return;
    // The count has 16 bits: one more would make it 0 and free storage that is in use.
    if (pblock->nrefs == UINT16_MAX) error(1, "Datablock::addRef: Too many references");
    pblock->nrefs++;
}

void Datablock::releaseRef(KX_Base*, Datablock* pblock)
{
    if (pblock == nullptr || --pblock->nrefs != 0) return;
    mem -= AccountedBytes(pblock->itemsize, pblock->len);
    nblocks--;
    (pblock->prev ? pblock->prev->next : first) = pblock->next;
    (pblock->next ? pblock->next->prev : last) = pblock->prev;
    std::free(pblock);
}
