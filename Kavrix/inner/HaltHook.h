// Whether the program that the library is part of has said that it must not be halted.
#ifndef KAVRIX_INNER_HALTHOOK_H
#define KAVRIX_INNER_HALTHOOK_H

namespace kavrix::inner {

bool HasHaltHook();

} // namespace kavrix::inner

#endif
