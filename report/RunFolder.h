// Where the files of a run lie, and when they were written.
#ifndef REPORT_RUNFOLDER_H
#define REPORT_RUNFOLDER_H

#include <chrono>
#include <string>

namespace telvane {

bool Exists(const std::string& name);

/// When a file was last written, in this machine's time.
std::string LastWritten(const std::string& name);

/// Whether `a` was last written before `b` by more than a run takes from one to the other. Not where one of
/// them is not there.
bool OfEarlierRun(const std::string& a, const std::string& b,
                  std::chrono::seconds takes = std::chrono::seconds(2));

/// The folder of a run and that of its frames. Names within the current folder stay bare.
class RunFolder {
public:
    /// \param folder        "." or the path of the run's folder
    /// \param framesFolder  folder of img1.bmp or img1.jpg and so on; empty: that of the run
    /// \param called        the path that pages show for it; empty: its own
    RunFolder(const std::string& folder, const std::string& framesFolder, const std::string& called = "");

    /// The whole path of the run's folder, or of what it is called.
    std::string Title() const;

    /// A file of the run.
    std::string Path(const std::string& name) const;

    /// \param number  1, 2, 3, ...
    std::string Frame(int number) const;

    /// Whether frames are JPEG files. Where there are both kinds, the younger img1 counts.
    bool FramesAreJpeg() const { return suffix == ".jpg"; }

    bool FramesLieElsewhere() const { return run != frames; }

    /// As many frames as there are from the first one on without a gap, at most maxFrames.
    int FramesWithoutGap() const;

private:
    std::string run, frames, suffix, shown;
};

} // namespace telvane

#endif
