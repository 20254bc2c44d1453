// The page, section after section.
#include <report/Report.h>

#include <report/Page.h>
#include <report/Problems.h>
#include <report/RunFiles.h>
#include <report/RunFolder.h>
#include <report/Sections.h>

namespace telvane {

Report MakeReport(const ReportOptions& options)
{
    const RunFolder folder(options.folder, options.frames);
    Page page("Telvane: " + folder.Title());
    Problems problems(page);
    RunFiles files(folder, problems);
    AddResult(page, files);
    AddVotes(page, files, options.apart);
    AddMotion(page, files);
    AddFrames(page, files, folder.FirstAndLastFrame(options.count));

    Report report;
    report.problems = problems.Lines();
    if (page.Figures() > 0) report.html = page.Html();
    return report;
}

} // namespace telvane
