// The page, section after section.
#ifndef REPORT_SECTIONS_H
#define REPORT_SECTIONS_H

#include <report/Judged.h>
#include <report/Problems.h>
#include <report/RunFolder.h>

#include <string>

namespace telvane {

/// The whole page: the verdict first, then the command line to try, then the evidence.
/// \param apart  see FindSummits
std::string ComposePage(const Judged& run, const Problems& problems, const RunFolder& folder, int apart);

} // namespace telvane

#endif
