/// \file
/// The cancellation query of the motion functions.
#ifndef KAVRIX_TESTQ_H
#define KAVRIX_TESTQ_H

#include <Kavrix/KXexport.h>

/// Asked by the motion functions at fixed checkpoints whether to go on.
/// It stands alone in its object file, so that a program can link a query of its own in its place.
/// \return 0 go on (always, here); anything else: abandon the calculation
KAVRIX_EXPORT int TestQ();

#endif
