// The sections of the page: what each file of a run shows.
#ifndef REPORT_SECTIONS_H
#define REPORT_SECTIONS_H

#include <report/Page.h>
#include <report/RunFiles.h>

#include <string>
#include <vector>

namespace telvane {

/// The marked picture.
void AddResult(Page& page, RunFiles& files);

/// The votes, and how clear their peak is.
/// \param apart  see FindSummits
void AddVotes(Page& page, RunFiles& files, int apart);

/// The flow in colours.
void AddMotion(Page& page, RunFiles& files);

/// \param names  of the first and the last frame, or of the first alone
void AddFrames(Page& page, RunFiles& files, const std::vector<std::string>& names);

} // namespace telvane

#endif
