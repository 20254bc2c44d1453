/// \file
/// Writing baseline JPEG files: the members WriteJPG of MatByte (grey) and CubByte (colour), by libjpeg.
///
/// Quality runs from 1 to 100. A matrix whose pixels do not lie side by side (step1 not 1) cannot be written:
/// no row is handed over, and libjpeg ends the process for an incomplete picture, as it does when a write
/// fails: its own error manager prints a message and exits. In a program with a halt hook (HaltHook.h) it
/// does neither, and the result is 5.
///
/// CubByte hands libjpeg each row of plane 0 as if it held 3 x width interleaved samples. The planes are NOT
/// interleaved: a cube of three planes comes out as the bytes of plane 0 onwards read as colour triples.
///
/// Results: 0 written; 1 the file does not open, or no stream; 3 the array is empty (for a cube also: it has
/// not just three planes), which leaves an empty file; 5 a call of libjpeg ended by an exception, or
/// failed in a program with a halt hook.
#ifndef KAVRIX_JPEGWRITE_H
#define KAVRIX_JPEGWRITE_H

#include <Kavrix/KXubyte.h>

#endif
