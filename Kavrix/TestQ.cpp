// Nothing in this system asks for a cancellation.
#include <Kavrix/TestQ.h>

int TestQ() { return 0; }
