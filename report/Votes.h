// The votes for the wheel's centre: the peak, how far it stands out, and their picture.
#ifndef REPORT_VOTES_H
#define REPORT_VOTES_H

#include <Kavrix/KXshort.h>

#include <tools/Canvas.h>

#include <string>

namespace telvane {

/// A place in the vote picture. Its votes are 0 where there is no such place.
struct Summit {
    int x = 0, y = 0;
    short votes = 0;
};

struct Summits {
    Summit peak; ///< the most votes, in the uppermost row that has them, and there furthest to the left
    Summit next; ///< the most votes among the other summits, chosen likewise
};

/// Finds the peak where the detection looks for it: everywhere but on the outermost pixels.
/// A summit is a place with votes that no place within `apart` columns and rows exceeds. The next best one
/// lies more than `apart` columns or rows from the peak, so that the peak's own slopes do not count.
Summits FindSummits(const MatShort& votes, int apart);

/// The most votes anywhere but on the outermost pixels, which the detection does not smooth.
short MostVotes(const MatShort& votes);

/// The colour of a share 0..1 of the most votes: from black over red and yellow to white, with the square
/// root of the share, so that few votes show too.
Colour HeatColour(double share);

/// The votes in these colours.
Canvas VotePicture(const MatShort& votes);

// Elements <svg> of a page, with lines and words that are sharp at every size. Marks are groups of the
// classes "peak" and "next-best".

/// The votes in their colours, with the summits ringed and named.
std::string VoteDrawing(const MatShort& votes, const Summits& summits);

/// What lies around the peak, up to `reach` pixels to each side, enlarged; a cross leaves the peak's pixel
/// open.
std::string PeakDrawing(const MatShort& votes, const Summit& peak, int reach);

/// A strip of all colours with the votes that they stand for.
std::string HeatScale(int most);

} // namespace telvane

#endif
