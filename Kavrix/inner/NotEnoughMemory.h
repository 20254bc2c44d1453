// The end of a program that asks for more elements than memory, or a block, can hold.
#ifndef KAVRIX_INNER_NOTENOUGHMEMORY_H
#define KAVRIX_INNER_NOTENOUGHMEMORY_H

#include <Kavrix/KXcommon.h>

namespace kavrix::inner {

[[noreturn]] inline void NotEnoughMemory() { error(1, "Datablock::create: Not enough memory"); }

} // namespace kavrix::inner

#endif
