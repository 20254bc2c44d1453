// The same words for standard error and for the page.
#include <report/Problems.h>

namespace telvane {

bool Problems::Accept(Part part, const std::string& name, const std::string& problem,
                      const std::string& expected)
{
    if (problem.empty()) return true;
    problems.push_back({part, name + ": " + problem + "; expected " + expected});
    return false;
}

std::vector<std::string> Problems::Of(Part part) const
{
    std::vector<std::string> lines;
    for (const Problem& problem : problems)
        if (problem.part == part) lines.push_back(problem.line);
    return lines;
}

std::vector<std::string> Problems::Lines() const
{
    std::vector<std::string> lines = doubts;
    for (const Problem& problem : problems) lines.push_back(problem.line);
    return lines;
}

} // namespace telvane
