// The page of limits names for each line of its tables a test that would fail if the line were not true.
#include <tools/Files.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string Text(const fs::path& file)
{
    std::string text;
    EXPECT_EQ(telvane::ReadWhole(file.string(), text), "") << file;
    return text;
}

std::vector<std::string> All(const std::string& text, const std::string& pattern)
{
    std::vector<std::string> found;
    const std::regex form(pattern);
    for (std::sregex_iterator i(text.begin(), text.end(), form), end; i != end; ++i)
        found.push_back((*i)[1].str() + (i->size() > 2 ? "." + (*i)[2].str() : ""));
    return found;
}

std::set<std::string> Tests()
{
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(SOURCE_FOLDER) / "tests"))
        if (entry.path().extension() == ".cpp")
            for (const std::string& name :
                 All(Text(entry.path()), "(?:^|\\n)(?:TYPED_)?TEST(?:_F|_P)?\\((\\w+),\\s*(\\w+)\\)"))
                names.insert(name);
    return names;
}

TEST(LimitsPage, NamesTestsThatAreThereForEveryLine)
{
    const std::set<std::string> tests = Tests();
    EXPECT_GT(tests.size(), 500u);
    std::istringstream page(Text(fs::path(SOURCE_FOLDER) / "docs" / "limits.md"));
    int lines = 0;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("| ", 0) != 0 || line.find("| Tests |") != line.npos) continue;
        const std::size_t last = line.rfind("| ", line.size() - 3);
        const std::vector<std::string> names = All(line.substr(last), "`(\\w+)\\.(\\w+)`");
        EXPECT_TRUE(!names.empty() || line.find("none: ", last) != line.npos) << line;
        for (const std::string& name : names) EXPECT_TRUE(tests.count(name) > 0) << name;
        lines++;
    }
    EXPECT_GT(lines, 40);
}

} // namespace
