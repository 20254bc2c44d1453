// What programs that embed the library may do instead of halting.
#ifndef KAVRIX_HALTHOOK_H
#define KAVRIX_HALTHOOK_H

#include <Kavrix/KXexport.h>

namespace kavrix {

/// Called by the fail-stop in place of writing its line. It must not return: it ends the program, or leaves
/// by an exception that the program catches. Where it returns, the line and the halt follow.
/// \param message  that `error` was given
using HaltHook = void (*)(int errorCode, const char* message);

/// From now on the fail-stop calls this hook; null, as at the start: none. With a hook, libjpeg does not end
/// the process either where a picture cannot be written: see jpegwrite.h.
KAVRIX_EXPORT void SetHaltHook(HaltHook hook);

/// Whether a hook is set.
KAVRIX_EXPORT bool HasHaltHook();

} // namespace kavrix

#endif
