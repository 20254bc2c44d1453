// Code that must not compile, a case at a time: CASE is defined by the test. Case 0 is the same without the
// mistake and must compile, so that a case is rejected for its own sake.
#include <Kavrix/Kavrix.h>

void Cases(MatShort& shorts, MatInt& ints, MatByte& bytes, CubByte& cube, const KX_Base& base);

void Cases(MatShort& shorts, MatInt& ints, MatByte& bytes, CubByte& cube, const KX_Base& base)
{
    (void)shorts, (void)ints, (void)bytes, (void)cube, (void)base;
#if CASE == 0
    MatShort sum = shorts + short(2);
    Convert(sum, ints);
    MatByte anything = base;
    MatByte frame = cube(RNG::All(), RNG::All(), 0);
    Trace trace("Cases");
    Datablock* block = ints.pblock;
    (void)block;
#elif CASE == 1 // a bare number is neither a short nor a float
    shorts *= 2;
#elif CASE == 2 // nor a byte
    bytes /= 2;
#elif CASE == 3 // a double is not a float
    ints *= 0.5;
#elif CASE == 4 // between element types there is Convert
    ints = shorts;
#elif CASE == 5
    MatShort s = ints;
#elif CASE == 6
    shorts += ints;
#elif CASE == 7 // what is not known to be of shorts does not become shorts
    MatShort s = base;
#elif CASE == 8 // there is no cube of ints
    CubInt c(1, 2, 3);
#elif CASE == 9
    int value = ints(0, 0, 0);
#elif CASE == 10 // a size is said, not converted
    VecInt v = 5;
#elif CASE == 11 // eleven shorts
    VecShort v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
#elif CASE == 12 // thirteen ints
    VecInt v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13);
#elif CASE == 13 // a vector has no rows
    VecShort(3)(0, 1);
#elif CASE == 14 // a trace belongs to its scope
    Trace a("a");
    Trace b = a;
#elif CASE == 15 // how views are made is the library's own business
    shorts.Share(base);
#elif CASE == 16 // a range has two ends
    RNG r(5);
#elif CASE == 17 // floats have no shifts
    MatFloat(2, 2) >>= 1;
#elif CASE == 18 // there is no order of int matrices
    MatByte b = ints > ints;
#elif CASE == 19 // views are cut from their own family
    MatShort s(&bytes, RNG(0, 1), RNG(0, 1));
#endif
}
