// The command line of the program, in both directions.
#include <diagnosis/RunArguments.h>

#include <Telvane/Frames.h>
#include <tools/Numbers.h>

#include <cstddef>

namespace telvane {

namespace {

// The sixteen words that follow the options, in their order; those that the program does not use have no
// place.
struct Word {
    const char* name;
    int RunArguments::*place;
};
const Word words16[] = {
    {"<wid>", &RunArguments::width},
    {"<hgh>", &RunArguments::height},
    {"<cx>", &RunArguments::centreX},
    {"<cy>", &RunArguments::centreY},
    {"<innerR>", &RunArguments::innerR},
    {"<outerR>", &RunArguments::outerR},
    {"<R3>", &RunArguments::offset},
    {"<ang1>", &RunArguments::angle1},
    {"<ang2>", &RunArguments::angle2},
    {"<fullAng>", &RunArguments::fullAngle},
    {"<teethCnt>", &RunArguments::teeth},
    {"<angSpd>", &RunArguments::turn},
    {"<initSpd>", nullptr},
    {"<minMvmt>", nullptr},
    {"<maxFwdMvmt>", nullptr},
    {"<bkgCorr>", &RunArguments::background},
};

/// Goes along the words and keeps the first thing that is wrong.
class Reader {
public:
    explicit Reader(const std::vector<std::string>& w) : words(w) {}

    bool AtEnd() const { return at == words.size(); }
    const std::string& Peek() const { return words[at]; }
    void Pass() { at++; }

    int Take(const std::string& name, int lowest, int highest)
    {
        int number = lowest;
        if (!problem.empty()) return number;
        if (AtEnd()) {
            problem = name + " is missing";
        } else if (!ReadNumber(std::string_view(words[at]), number)) {
            problem = name + ": '" + words[at] + "' is not a whole number";
        } else if (number < lowest || number > highest) {
            problem = name + ": " + words[at] + " is not from " + std::to_string(lowest) + " to " +
                      std::to_string(highest);
        } else {
            at++;
        }
        return number;
    }
    int Take(const std::string& name) { return Take(name, -2147483647 - 1, 2147483647); }

    std::string problem;

private:
    const std::vector<std::string>& words;
    std::size_t at = 0;
};

} // namespace

std::optional<Sense> RunArguments::Told() const
{
    if (turn == 0) return {};
    return turn > 0 ? Sense::clockwise : Sense::counterClockwise;
}

std::vector<int> RunArguments::Times() const
{
    std::vector<int> times;
    for (int i = 0, time = 0; i < count; i++) {
        times.push_back(time);
        time += period1 == period2 ? 1 : i % 2 == 0 ? period1 : period2;
    }
    return times;
}

std::vector<std::string> RunArguments::Words() const
{
    std::vector<std::string> words;
    const auto add = [&words](const char* option, std::initializer_list<int> numbers) {
        if (option) words.emplace_back(option);
        for (const int number : numbers) words.push_back(std::to_string(number));
    };
    add(files ? "-l" : "-n", {count});
    if (save) add("-s", {});
    if (jpeg) add("-jpg", {});
    if (period1 != 1) add("-p1", {period1});
    if (period2 != 1) add("-p2", {period2});
    for (const Region& mask : masks) add("-m", {mask.left, mask.top, mask.width, mask.height});
    for (const Word& word : words16) add(nullptr, {word.place ? this->*word.place : 0});
    return words;
}

std::string RunArguments::CommandLine() const
{
    std::string line = "Telvane";
    for (const std::string& word : Words()) line += ' ' + ShellWord(word);
    return line;
}

std::string ReadRunArguments(const std::vector<std::string>& words, RunArguments& arguments)
{
    RunArguments read;
    for (Reader reader(words);;) {
        const std::string option = reader.AtEnd() ? "" : reader.Peek();
        if (option == "-n" || option == "-l") {
            reader.Pass();
            read.files = option == "-l";
            read.count = reader.Take(option, 1, maxFrames);
        } else if (option == "-p1" || option == "-p2") {
            reader.Pass();
            (option == "-p1" ? read.period1 : read.period2) = reader.Take(option, 1, maxPeriod);
        } else if (option == "-s" || option == "-jpg") {
            reader.Pass();
            (option == "-s" ? read.save : read.jpeg) = true;
        } else if (option == "-m") {
            reader.Pass();
            if (read.masks.size() == 3) return "-m is given more than three times";
            Region mask{};
            for (int* number : {&mask.left, &mask.top, &mask.width, &mask.height})
                *number = reader.Take("-m");
            read.masks.push_back(mask);
        } else {
            for (const Word& word : words16) {
                const int number = reader.Take(word.name);
                if (word.place) read.*word.place = number;
            }
            if (reader.problem.empty()) arguments = read;
            return reader.problem;
        }
        if (!reader.problem.empty()) return reader.problem;
    }
}

std::string ShellWord(const std::string& word)
{
    const char plain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_=+,./:@%";
    if (!word.empty() && word.find_first_not_of(plain) == word.npos) return word;
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

} // namespace telvane
