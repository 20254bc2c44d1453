// The folder that holds the folders of runs.
#ifndef RUN_OUTFOLDER_H
#define RUN_OUTFOLDER_H

#include <string>
#include <vector>

namespace telvane {

/// A new folder in it: made aside under a hidden name, and renamed when it is whole. Several programs may do
/// so at once; what one of them left when it was killed is cleared by the next. Every call that can fail
/// returns nothing, or what is wrong and where.
class OutFolder {
public:
    /// \param path  of the folder that holds the others; made if missing
    explicit OutFolder(const std::string& path) : out(path) {}
    OutFolder(const OutFolder&) = delete;
    OutFolder& operator=(const OutFolder&) = delete;
    /// What was begun and not finished is abandoned.
    ~OutFolder() { Abandon(); }

    /// Lets go of what was begun; it is as if nothing had been.
    void Abandon();

    /// \param time  begins the new folder's name, as "20261121T230904Z"; its running number follows
    std::string Begin(const std::string& time);

    /// Where the new folder's files are written to.
    const std::string& Aside() const { return aside; }

    /// The path that it is going to have.
    const std::string& Final() const { return final; }

    /// Gives the new folder its name, lets `latest` lead to the newest one, and removes the oldest ones but
    /// `keep`. Only folders that are named so and hold a run.json are counted and removed.
    std::string Finish(int keep);

private:
    std::string Path(const std::string& entry) const;
    std::string Point(const std::string& newest) const;
    void Remove(const std::string& run) const;
    void Clear(const std::vector<std::string>& entries) const;

    std::string out, aside, final, name;
    int hold = -1; ///< an open file whose lock tells that somebody works in the folder aside
};

} // namespace telvane

#endif
