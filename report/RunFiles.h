// The files of a run, each loaded as what it must be.
#ifndef REPORT_RUNFILES_H
#define REPORT_RUNFILES_H

#include <report/Page.h>
#include <report/Problems.h>
#include <report/RunFolder.h>

#include <Kavrix/KXshort.h>

#include <string>

namespace telvane {

/// Every loader returns whether it has the file. Where it has not, the problem is taken down.
class RunFiles {
public:
    /// Both outlive it.
    RunFiles(const RunFolder& f, Problems& p) : folder(f), problems(p) {}

    /// detected.jpg, which every detection writes.
    bool LoadMarked(Picture& picture);

    /// When detected.jpg was written.
    std::string MarkedWritten() const;

    /// A 16-bit picture of a run with -s. One that is older than detected.jpg gives rise to doubt.
    bool LoadNumbers(const std::string& name, const std::string& expected, MatShort& numbers);

    /// u_sum_sh.bmp and v_sum_sh.bmp must be of one size.
    bool CheckFlow(const MatShort& u, const MatShort& v);

    /// A BMP or, as the name says, a JPEG file.
    bool LoadFrame(const std::string& name, Picture& picture);

private:
    bool Load(const std::string& name, std::string& file, const std::string& expected);

    const RunFolder& folder;
    Problems& problems;
};

} // namespace telvane

#endif
