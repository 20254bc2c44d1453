// Code that must not compile, a case at a time: its test defines its name. NoMistake is the same without any
// and must compile, so that a case is rejected for its own sake.
#include <Kavrix/Kavrix.h>

void Cases(MatShort& shorts, MatInt& ints, MatByte& bytes, CubByte& cube, const KX_Base& base);

void Cases(MatShort& shorts, MatInt& ints, MatByte& bytes, CubByte& cube, const KX_Base& base)
{
    (void)shorts, (void)ints, (void)bytes, (void)cube, (void)base;
#ifdef NoMistake
    MatShort sum = shorts + short(2);
    Convert(sum, ints);
    MatByte anything = base;
    MatByte frame = cube(RNG::All(), RNG::All(), 0);
    VecShort fromRange = RNG(0, 4);
    VecInt fromDoubles(1.0, 2.0);
    VecByte fromEnumerators(PIX_FMT_Y8, PIX_FMT_Y16);
    Trace trace("Cases");
    Datablock* block = ints.pblock;
    (void)block;
#elif defined ShortsTimesABareNumber // a bare number is neither a short nor a float
    shorts *= 2;
#elif defined BytesByABareNumber     // nor a byte
    bytes /= 2;
#elif defined IntsTimesADouble       // a double is not a float
    ints *= 0.5;
#elif defined ShortsAssignedToInts   // between element types there is Convert
    ints = shorts;
#elif defined ShortsMadeOfInts
    MatShort s = ints;
#elif defined IntsAddedToShorts
    shorts += ints;
#elif defined ShortsMadeOfAnyArray // what is not known to be of shorts does not become shorts
    MatShort s = base;
#elif defined ACubeOfInts          // there is no cube of ints
    CubInt c(1, 2, 3);
#elif defined AMatrixWithPlanes
    int value = ints(0, 0, 0);
#elif defined AVectorMadeOfItsSizeByItself // a size is said, not converted
    VecInt v = 5;
#elif defined ElevenShorts                 // eleven shorts
    VecShort v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
#elif defined ThirteenInts                 // thirteen ints
    VecInt v(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13);
#elif defined AVectorWithRows              // a vector has no rows
    VecShort(3)(0, 1);
#elif defined ACopyOfATrace                // a trace belongs to its scope
    Trace a("a");
    Trace b = a;
#elif defined SharingFromOutside           // how views are made is the library's own business
    shorts.Share(base);
#elif defined ARangeWithOneEnd             // a range has two ends
    RNG r(5);
#elif defined ShiftedFloats                // floats have no shifts
    MatFloat(2, 2) >>= 1;
#elif defined OrderedInts                  // there is no order of int matrices
    MatByte b = ints > ints;
#elif defined AViewOfAnotherFamily         // views are cut from their own family
    MatShort s(&bytes, RNG(0, 1), RNG(0, 1));
#elif defined ValuesOfAScopedEnumeration
    enum class Colour { red, green };
    VecInt v(Colour::red, Colour::green);
#elif defined AMatrixMadeOfOneRange
    MatShort s = RNG(0, 4);
#endif
}
