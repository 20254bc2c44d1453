// What is wrong with the files of a run.
#ifndef REPORT_PROBLEMS_H
#define REPORT_PROBLEMS_H

#include <string>
#include <vector>

namespace telvane {

/// Collects a line for each file that cannot be shown or may be another run's.
class Problems {
public:
    /// Where the page says it.
    enum class Part { marked, votes, motion, frames };

    /// \param problem  empty where nothing is wrong: then nothing is said
    /// \return whether nothing is wrong and the file can be used
    bool Accept(Part part, const std::string& name, const std::string& problem, const std::string& expected);

    /// A file that looks like another run's.
    void Doubt(const std::string& line) { doubts.push_back(line); }

    /// Of files that cannot be used.
    std::vector<std::string> Of(Part part) const;
    const std::vector<std::string>& Doubts() const { return doubts; }
    /// All of them.
    std::vector<std::string> Lines() const;

private:
    struct Problem {
        Part part;
        std::string line;
    };
    std::vector<Problem> problems;
    std::vector<std::string> doubts;
};

} // namespace telvane

#endif
