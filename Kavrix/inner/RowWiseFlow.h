// The flow of a pair of frames, row by row.
#ifndef KAVRIX_INNER_ROWWISEFLOW_H
#define KAVRIX_INNER_ROWWISEFLOW_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>
#include <Kavrix/inner/FlowQuotient.h>

#include <cstdint>

namespace kavrix::inner {

/// The rows of pictures of which only the last few are kept. A row goes by its own number y, and its picture
/// by its own number k: both may grow beyond the rows and pictures that there are, whose places are used
/// again in turn. T is any plain type; the storage is a library array of shorts, some for each T.
template <class T> class RowRing {
public:
    RowRing(int width, int rowsKept, int picturesKept = 1)
        : rows(width, shorts * rowsKept, picturesKept), kept(rowsKept)
    {
    }

    /// Of which all rows are kept; shares its storage.
    explicit RowRing(const MatShort& picture) : rows(picture), kept(picture.dim2)
    {
        static_assert(shorts == 1);
    }

    T* operator()(std::int64_t y, std::int64_t k = 0) const
    {
        const int place = shorts * static_cast<int>(y % kept);
        return reinterpret_cast<T*>(&rows(0, place, static_cast<int>(k % rows.dim3)));
    }

private:
    static constexpr int shorts = sizeof(T) / 2; // of two bytes
    static_assert(sizeof(Datablock) % alignof(T) == 0, "elements lie behind the header of their block");

    CubShort rows;
    int kept;
};

/// The flow of one pair of frames after another, in rows that stay in the processor's caches.
///
/// Sweep k needs the rows y - 1, y, y + 1 of sweep k - 1. So the sweeps follow each other at a distance of
/// one row, each a step behind the one before, with the derivatives in front:
///
///     step s:   derivatives of row s | sweep 1, row s - 1 | sweep 2, row s - 2 | ... | added to the sums
///
/// Of every sweep only the last 4 rows of flow are kept, of the derivatives one row for each sweep and one
/// more.
class RowWiseFlow {
public:
    /// For frames of wid x hgh; at least one sweep.
    RowWiseFlow(int wid, int hgh, int nrIters);

    /// Adds the flow from the prepared frame P to N.
    void AddPair(const MatShort& P, const MatShort& N, MatInt& u_sum, MatInt& v_sum);

private:
    using Int = std::int64_t; // rows and sweeps together may be more than an int holds

    void Derive(const RowRing<short>& P, const RowRing<short>& N, Int y);
    void Sweep(Int k, Int y);
    void FrameRow(Int k, Int j, const short* uNeighbour);
    void AddTo(MatInt& u_sum, MatInt& v_sum, int j);

    const int cells; // in a row of derivatives
    const Int rows;  // of derivatives
    const Int sweeps;
    RowRing<short> Ex, Ey, Et; // row y
    RowRing<FlowQuotient::Divisor> divisor;
    RowRing<short> u, v; // row j of sweep k: j = y + 1 is that of cell row y, 0 and rows + 1 are the frame
    VecShort u_ave, v_ave;
};

} // namespace kavrix::inner

#endif
