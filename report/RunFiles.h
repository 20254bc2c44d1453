// The files of a run, each read as what it must be, and those of other runs told apart.
#ifndef REPORT_RUNFILES_H
#define REPORT_RUNFILES_H

#include <report/Page.h>
#include <report/Problems.h>
#include <report/RunFolder.h>

#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>
#include <diagnosis/RunArguments.h>

#include <optional>
#include <string>
#include <vector>

namespace telvane {

/// What is there of a run. Pictures are empty where they are not.
struct RunFiles {
    Picture marked;                         ///< detected.jpg as it is
    MatShort votes;                         ///< hough.bmp
    MatShort u, v;                          ///< both or none
    bool flowIsOfThisRun = false;           ///< as far as dates tell
    std::vector<MatByte> frames;            ///< in their order; empty ones could not be read
    std::vector<std::string> frameNames;    ///< of all of them
    std::vector<std::string> frameProblems; ///< a line for each that cannot be read
    bool anyFrame = false;                  ///< whether there is a file of any of them
};

/// Reads all files. Where one is missing, damaged, of another kind or of another run, that is taken down;
/// not where a run of this kind does not write it.
/// \param count      frames of the run; 0: those of its arguments, or as many as there are without a gap
/// \param arguments  of the run, where they are known
RunFiles LoadRun(const RunFolder& folder, int count, const std::optional<RunArguments>& arguments,
                 Problems& problems);

/// All frames as one array; none where one of them is not there.
CubByte Joined(const std::vector<MatByte>& frames);

} // namespace telvane

#endif
