/// \file
/// The storage under every array: one reference-counted block holds a header and, behind it, the elements.
#ifndef KAVRIX_DATABLOCK_H
#define KAVRIX_DATABLOCK_H

#include <Kavrix/KXexport.h>

class KX_Base;

/// One allocation with its header and its elements, shared by all the arrays and views that point into it.
/// The live blocks form a list in order of creation, and their sizes are accounted for; both are plain
/// class-wide state: the library is used from one thread.
class KAVRIX_EXPORT Datablock {
public:
    void* ptr;               ///< the first element; for an attached buffer the caller's memory
    int len;                 ///< number of elements; 0 for an attached buffer
    unsigned short itemsize; ///< bytes per element: 1, 2 or 4
    unsigned short nrefs;    ///< number of arrays whose `pblock` is this block, at most 65535
    Datablock* prev;         ///< the block made before this one, of those that live; null for the first
    Datablock* next;         ///< the block made after it; null for the last

    static unsigned mem;     ///< bytes in live blocks, 20 for each header included
    static unsigned maxMem;  ///< the highest value that `mem` has had
    static Datablock* first; ///< oldest live block
    static Datablock* last;  ///< youngest live block
    static int nblocks;      ///< number of live blocks

    /// Bytes that a header counts in `mem`, whatever it really takes on this machine.
    static constexpr int headerSize = 20;

    /// A new block with one reference. The elements are not cleared.
    /// Stops with "Datablock::create: Not enough memory" when `len` is negative or memory is exhausted.
    /// \param user      the array that asks; not used
    /// \param itemsize  bytes per element
    /// \param len       number of elements
    /// \return the block, at the end of the list; its `ptr` lies behind the header, in the same allocation
    static Datablock* create(KX_Base* user, unsigned short itemsize, int len);

    /// One more array uses the block. A null block is ignored.
    /// Stops with "Datablock::addRef: Too many references" instead of passing 65535.
    static void addRef(KX_Base* user, Datablock* pblock);

    /// One array less uses the block; the last one frees it. A null block is ignored.
    /// The buffer behind an attached block stays the caller's.
    static void releaseRef(KX_Base* user, Datablock* pblock);

    /// Whether the elements are the caller's, as many as the caller knows, and not those behind the header.
    bool IsAttached() const { return ptr != this + 1; }

    static unsigned memUsed() { return mem; }       ///< bytes in live blocks
    static unsigned maxMemUsed() { return maxMem; } ///< the most that it has been
};

#endif
