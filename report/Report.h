// The report of a run: which of its files can be shown, and the page that shows them.
#ifndef REPORT_REPORT_H
#define REPORT_REPORT_H

#include <string>
#include <vector>

namespace telvane {

struct ReportOptions {
    std::string folder = "."; ///< of the run: detected.jpg and the 16-bit pictures
    std::string frames;       ///< folder of img1.bmp or img1.jpg and so on; empty: that of the run
    int count = 0;            ///< frames of the run; 0: as many as there are without a gap
    int apart = 30;           ///< see FindSummits
};

struct Report {
    std::string html; ///< the page; empty where nothing could be shown
    /// A line for each file that cannot be shown or may be another run's.
    std::vector<std::string> problems;
};

Report MakeReport(const ReportOptions& options);

} // namespace telvane

#endif
