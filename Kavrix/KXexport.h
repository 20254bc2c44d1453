/// \file
/// What every header of the library begins with: the language that it needs, and the mark of what a shared
/// library exports.
#ifndef KAVRIX_KXEXPORT_H
#define KAVRIX_KXEXPORT_H

#if __cplusplus < 202002L
#error "Kavrix needs C++20"
#endif

/// Stands before every class and function of the installed headers that has a body in the library, which is
/// compiled with everything else hidden.
#ifdef __GNUC__
#define KAVRIX_EXPORT __attribute__((visibility("default")))
#else
#define KAVRIX_EXPORT
#endif

#endif
