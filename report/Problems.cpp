// The same words for standard error and for the page.
#include <report/Problems.h>

namespace telvane {

bool Problems::Accept(const std::string& name, const std::string& problem, const std::string& expected)
{
    if (problem.empty()) return true;
    lines.push_back(name + ": " + problem + "; expected " + expected);
    page.Verdict("fair", "Not shown: " + lines.back() + ".");
    return false;
}

void Problems::Doubt(const std::string& name, const std::string& doubt, const std::string& expected)
{
    lines.push_back(name + ": " + doubt + "; expected " + expected);
    page.Verdict("fair", "Of an earlier run? " + lines.back() + ".");
}

} // namespace telvane
