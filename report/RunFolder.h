// Where the files of a run lie, and when they were written.
#ifndef REPORT_RUNFOLDER_H
#define REPORT_RUNFOLDER_H

#include <string>
#include <vector>

namespace telvane {

/// The folder of a run and that of its frames. Names within the current folder stay bare.
class RunFolder {
public:
    /// \param folder        "." or the path of the run's folder
    /// \param framesFolder  folder of img1.bmp or img1.jpg and so on; empty: that of the run
    RunFolder(const std::string& folder, const std::string& framesFolder);

    /// The whole path of the run's folder.
    std::string Title() const;

    /// A file of the run.
    std::string Path(const std::string& name) const;

    /// The first frame and the last one, or the first alone where there is no other.
    /// \param count  frames of the run; 0: as many as there are without a gap
    std::vector<std::string> FirstAndLastFrame(int count) const;

private:
    std::string run, frames;
};

/// When a file was last written, in this machine's time.
std::string LastWritten(const std::string& name);

/// Whether `a` was last written before `b`. Not where one of them is not there.
bool Older(const std::string& a, const std::string& b);

} // namespace telvane

#endif
