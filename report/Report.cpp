// The report, step after step.
#include <report/Report.h>

#include <report/Judged.h>
#include <report/Problems.h>
#include <report/RunFiles.h>
#include <report/RunFolder.h>
#include <report/Sections.h>

namespace telvane {

Report MakeReport(const ReportOptions& options)
{
    const RunFolder folder(options.folder, options.frames, options.called);
    Problems problems;
    const RunFiles files = LoadRun(folder, options.count, options.arguments, problems);
    const bool framesNeeded = options.count > 0 || (options.arguments && options.arguments->files);
    Judged run = Judge(files, options.arguments, options.outcome, options.lost, framesNeeded);
    if (options.command && run.diagnosis.proposal)
        run.toTry = options.command(run.diagnosis.proposal->arguments);

    Report report;
    report.diagnosis = run.diagnosis;
    report.problems = problems.Lines();
    report.inputs = files.frameNames;
    for (const char* name : {"detected.jpg", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"})
        report.inputs.push_back(folder.Path(name));
    const bool hasPicture = !files.marked.bytes.empty() || files.votes.dim1 > 0 || run.u.dim1 > 0;
    report.anything = hasPicture || files.anyFrame || Known(run.outcome);
    if (!report.anything || !options.page) return report;

    report.html = ComposePage(run, problems, folder, options.apart);
    return report;
}

} // namespace telvane
