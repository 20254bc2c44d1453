// The elements of the vector of parameters that Detect takes.
#ifndef TELVANE_PARAM_H
#define TELVANE_PARAM_H

namespace telvane {

/// For instance params(Param::outerR). Lengths are pixels, angles degrees.
struct Param {
    enum Index : int {
        count,      ///< 14, the vector's length
        wmType,     ///< 0
        cx,         ///< the wheel's centre in the output region
        cy,         ///< of it too
        wid,        ///< size of the output region
        hgh,        ///< of it too
        innerR,     ///< from where the teeth are
        outerR,     ///< to where
        R3,         ///< offset of the votes along the motion; below 0 asks for the ring search instead
        ang1,       ///< where the marked sector begins
        ang2,       ///< where it ends
        toothAngle, ///< from one tooth to the next
        angSpd,     ///< below 0 counter-clockwise, above 0 clockwise
        bkgCorr,    ///< below 0 asks for the background of that percentile
        length      ///< of the vector
    };
};

} // namespace telvane

#endif
