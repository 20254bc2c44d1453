// The report of a run: what really moved, whether the answer can be trusted, and the page that says so.
#ifndef REPORT_REPORT_H
#define REPORT_REPORT_H

#include <diagnosis/Diagnosis.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace telvane {

struct ReportOptions {
    std::string folder = "."; ///< of the run: detected.jpg and the 16-bit pictures
    std::string called;       ///< the path that the page shows for it; empty: its own
    std::string frames;       ///< folder of img1.bmp or img1.jpg and so on; empty: that of the run
    int count = 0;            ///< frames of the run; 0: those of its arguments, or as many as are there
    int apart = 30;           ///< see FindSummits
    std::optional<RunArguments> arguments; ///< of the run, where they are known
    RunOutcome
        outcome; ///< what the program said; without any of it, it is computed from frames and arguments
    std::vector<int> lost; ///< see RunSeen::lost
    /// The command line to try for such arguments, where the run was not asked for by Telvane's own.
    std::function<std::string(const RunArguments&)> command;
    bool page = true; ///< whether the page is wanted
};

struct Report {
    Diagnosis diagnosis;
    bool anything = false; ///< whether there is anything to show
    std::string html;      ///< the page; empty where there is nothing to show, or it is not wanted
    /// A line for each file that cannot be shown or may be another run's.
    std::vector<std::string> problems;
    std::vector<std::string> inputs; ///< names of all files that it is made of, there or not
};

Report MakeReport(const ReportOptions& options);

} // namespace telvane

#endif
