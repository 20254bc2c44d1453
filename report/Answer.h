// What the program answers to frames and arguments, computed by the same detection.
#ifndef REPORT_ANSWER_H
#define REPORT_ANSWER_H

#include <diagnosis/Diagnosis.h>

namespace telvane {

/// \param frames  1280 x 960 x N, not masked; read only
/// \param u, v    become the flow pictures; untouched where the detection does not come as far
/// \return where the program would halt: `failure` "halted", and the line that it halts with as the message
RunOutcome Answer(const CubByte& frames, const RunArguments& arguments, MatShort& u, MatShort& v);

/// The flow pictures of the frames: those that the program writes with -s where there are no masks and equal
/// periods.
void MakeFlow(const CubByte& frames, MatShort& u, MatShort& v);

} // namespace telvane

#endif
