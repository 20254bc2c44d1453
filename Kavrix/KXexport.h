/// \file
/// What every header of the library begins with: the language that it needs.
#ifndef KAVRIX_KXEXPORT_H
#define KAVRIX_KXEXPORT_H

#if __cplusplus < 202002L
#error "Kavrix needs C++20"
#endif

#endif
