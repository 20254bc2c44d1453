// What is wrong with the files of a run.
#ifndef REPORT_PROBLEMS_H
#define REPORT_PROBLEMS_H

#include <report/Page.h>

#include <string>
#include <vector>

namespace telvane {

/// Collects a line for each file that cannot be shown or may be another run's, and says it on the page too,
/// at the place that the page has reached.
class Problems {
public:
    explicit Problems(Page& p) : page(p) {}

    /// \param problem  empty where nothing is wrong: then nothing is said
    /// \return whether nothing is wrong and the file can be shown
    bool Accept(const std::string& name, const std::string& problem, const std::string& expected);

    /// The file is shown all the same.
    void Doubt(const std::string& name, const std::string& doubt, const std::string& expected);

    const std::vector<std::string>& Lines() const { return lines; }

private:
    Page& page;
    std::vector<std::string> lines;
};

} // namespace telvane

#endif
