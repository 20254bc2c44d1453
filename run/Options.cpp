// The table of options, and the check of a request against it.
#include <run/Options.h>

#include <Telvane/Frames.h>
#include <tools/Numbers.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <tuple>

namespace telvane {

namespace {

const char wheel[] = "The wheel";
const char answer[] = "The answer";
const char pictures[] = "Frames";
const char search[] = "The search";
const char running[] = "The run";

const int far = 10000; // pixels; keeps sums of several within 32 bits

// The parts of a request that hold their option's value as it is.
Value Numbers(std::vector<int> numbers) { return {{std::move(numbers)}, {}}; }
Value Text(std::string text) { return {{}, std::move(text)}; }
template <auto member> std::optional<Value> GetNumber(const Request& r)
{
    return Numbers({r.arguments.*member});
}
template <auto member> void StoreNumber(Request& r, const Value& v) { r.arguments.*member = v.entries[0][0]; }
template <auto member> std::optional<Value> GetOwn(const Request& r) { return Numbers({r.*member}); }
template <auto member> void StoreOwn(Request& r, const Value& v) { r.*member = v.entries[0][0]; }
template <auto a, auto b> std::optional<Value> GetPair(const Request& r)
{
    return Numbers({r.arguments.*a, r.arguments.*b});
}
template <auto a, auto b> void StorePair(Request& r, const Value& v)
{
    r.arguments.*a = v.entries[0][0];
    r.arguments.*b = v.entries[0][1];
}
template <auto member> std::optional<Value> GetText(const Request& r)
{
    if ((r.*member).empty()) return {};
    return Text(r.*member);
}
template <auto member> void StoreText(Request& r, const Value& v) { r.*member = v.text; }

std::optional<Value> GetMasks(const Request& r)
{
    Value value;
    for (const Region& mask : r.arguments.masks)
        value.entries.push_back({mask.left, mask.top, mask.width, mask.height});
    return value;
}
void StoreMasks(Request& r, const Value& v)
{
    r.arguments.masks.clear();
    for (const auto& n : v.entries) r.arguments.masks.push_back({n[0], n[1], n[2], n[3]});
}

std::optional<Value> GetSense(const Request& r)
{
    const std::optional<Sense> told = r.arguments.Told();
    if (!told) return {};
    return Text(std::string(Name(*told)));
}

bool IsVotes(const Request& r) { return r.method == Method::votes; }

std::string Between(const WholeNumber& number)
{
    return "from " + std::to_string(number.lowest) + " to " + std::to_string(number.highest);
}

/// \param range  the highest number is to be named, too
std::string Limits(const WholeNumber& number, bool range)
{
    if (number.open && !range) return "a whole number of " + std::to_string(number.lowest) + " or more";
    return "a whole number " + Between(number);
}

/// What is wrong with a value that is shown as `shown`.
std::string Refused(const RunOption& option, const std::string& shown, bool tooLarge = false)
{
    if (option.numbers.size() == 1) return shown + " is not " + Limits(option.numbers[0], tooLarge);
    return shown + " is not " + option.Allowed();
}

bool Within(const RunOption& option, const std::vector<int>& numbers)
{
    if (numbers.size() != option.numbers.size()) return false;
    for (std::size_t i = 0; i < numbers.size(); i++)
        if (numbers[i] < option.numbers[i].lowest || numbers[i] > option.numbers[i].highest) return false;
    return true;
}

std::string TooOften(const RunOption& option)
{
    return "given more than " + std::to_string(option.most) + " times";
}

/// \return nothing, or what is wrong with the text
std::string CheckText(const RunOption& option, const std::string& shown, const std::string& text)
{
    const auto& choices = option.choices;
    if (!choices.empty() && std::find(choices.begin(), choices.end(), text) == choices.end())
        return Refused(option, shown);
    return text.empty() || text.find('\0') != text.npos ? Refused(option, shown) : "";
}

/// A number, or numbers between brackets.
bool ReadEntry(const nlohmann::ordered_json& json, std::vector<int>& numbers)
{
    const auto read = [&numbers](const nlohmann::ordered_json& number) {
        // A number beyond 32 bits is beyond every option's limits, as the nearest one within is.
        if (!number.is_number_integer()) return false;
        const auto wide =
            number.is_number_unsigned()
                ? static_cast<std::int64_t>(std::min<std::uint64_t>(number.get<std::uint64_t>(), INT32_MAX))
                : number.get<std::int64_t>();
        numbers.push_back(static_cast<int>(std::clamp<std::int64_t>(wide, INT32_MIN, INT32_MAX)));
        return true;
    };
    if (!json.is_array()) return read(json);
    return std::all_of(json.begin(), json.end(), read);
}

} // namespace

std::string RunOption::Allowed() const
{
    std::string text;
    if (numbers.size() == 1) return Limits(numbers[0], false);
    for (const WholeNumber& number : numbers)
        text += (text.empty() ? words + std::string(": whole numbers, ") : ", ") + number.name + " " +
                Between(number);
    for (const char* choice : choices) text += (text.empty() ? "" : " or ") + std::string(choice);
    return text.empty() ? "the name of a file or folder" : text;
}

std::string RunOption::Help() const
{
    std::string text = meaning;
    if (!numbers.empty()) {
        text += "; " + Allowed();
        if (*numbers[0].unit) text += std::string(" ") + numbers[0].unit;
    }
    if (most > 1) text += "; up to " + std::to_string(most) + " times";
    return text + " (" + absent + ")";
}

const std::vector<RunOption>& OptionTable()
{
    using A = RunArguments;
    static const std::vector<RunOption> options = {
        {wheel,
         "inner",
         "R",
         "radius of the tooth roots",
         "must be given",
         {{"R", "pixels", 0, far, true}},
         {},
         GetNumber<&A::innerR>,
         StoreNumber<&A::innerR>},
        {wheel,
         "outer",
         "R",
         "radius of the tooth tips, larger than --inner",
         "must be given",
         {{"R", "pixels", 1, far, true}},
         {},
         GetNumber<&A::outerR>,
         StoreNumber<&A::outerR>},
        {wheel,
         "teeth",
         "N",
         "number of teeth; what is wrong with the run is told better with it",
         "0: not known",
         {{"N", "", 0, 1000}},
         {},
         [](const Request& r) { return r.arguments.teeth > 0 ? GetNumber<&A::teeth>(r) : std::nullopt; },
         StoreNumber<&A::teeth>},
        {wheel,
         "sense",
         "cw|ccw",
         "sense of rotation as the picture shows it, clockwise or counter-clockwise",
         "not known; votes need it",
         {},
         {"cw", "ccw"},
         GetSense,
         [](Request& r, const Value& v) { r.arguments.turn = v.text == "cw" ? 1 : -1; }},

        {answer,
         "region",
         "W,H",
         "size of the region to find",
         "must be given",
         {{"W", "pixels", 1, frameWidth}, {"H", "pixels", 1, frameHeight}},
         {},
         GetPair<&A::width, &A::height>,
         StorePair<&A::width, &A::height>},
        {answer,
         "centre-in-region",
         "X,Y",
         "where in the region the wheel's centre is to lie; X below W, Y at most H",
         "its middle",
         {{"X", "pixels", 0, frameWidth - 1}, {"Y", "pixels", 0, frameHeight}},
         {},
         GetPair<&A::centreX, &A::centreY>,
         [](Request& r, const Value& v) {
             r.centreInRegion = {v.entries[0][0], v.entries[0][1]};
         }},
        {answer,
         "angles",
         "A,B",
         "start and end angle that the marks show, clockwise from the right",
         "0,360",
         {{"A", "degrees", -360, 719}, {"B", "degrees", -360, 719}},
         {},
         GetPair<&A::angle1, &A::angle2>,
         StorePair<&A::angle1, &A::angle2>},
        {answer,
         "background",
         "P",
         "also estimate the region's background, from the grey values' percentile P; 0: do not",
         "0",
         {{"P", "percent", 0, 99}},
         {},
         [](const Request& r) -> std::optional<Value> {
             if (r.arguments.background == 0) return {};
             return Numbers({-r.arguments.background}); // 1 to 99
         },
         [](Request& r, const Value& v) { r.arguments.background = -v.entries[0][0]; }},

        {pictures,
         "count",
         "N",
         "frames of the run",
         "15; with --frames as many as there are without a gap, at most 50",
         {{"N", "frames", 2, maxFrames}},
         {},
         GetNumber<&A::count>,
         StoreNumber<&A::count>},
        {pictures,
         "p1",
         "N",
         "kept frames lie p1, p2, p1, ... camera frames after their predecessors; when the two differ, one "
         "of "
         "them must be 1",
         "1",
         {{"N", "camera frames", 1, maxPeriod}},
         {},
         GetNumber<&A::period1>,
         StoreNumber<&A::period1>},
        {pictures,
         "p2",
         "N",
         "see p1",
         "1",
         {{"N", "camera frames", 1, maxPeriod}},
         {},
         GetNumber<&A::period2>,
         StoreNumber<&A::period2>},
        {pictures,
         "frames",
         "DIR",
         "recorded frames instead of the camera's: img1.bmp, img2.bmp, ... or img1.jpg, ... of this folder",
         "the camera",
         {},
         {},
         GetText<&Request::frames>,
         StoreText<&Request::frames>},
        {pictures,
         "mask",
         "X,Y,W,H",
         "blank a rectangle in all frames: for what moves and is not the wheel",
         "none",
         {{"X", "pixels", -far, far},
          {"Y", "pixels", -far, far},
          {"W", "pixels", 1, far},
          {"H", "pixels", 1, far}},
         {},
         GetMasks,
         StoreMasks,
         3},
        {pictures,
         "save",
         "bmp|jpg",
         "how frames of the camera are kept",
         "bmp",
         {},
         {"bmp", "jpg"},
         [](const Request& r) -> std::optional<Value> {
             return Text(std::string(r.arguments.jpeg ? "jpg" : "bmp"));
         },
         [](Request& r, const Value& v) { r.arguments.jpeg = v.text == "jpg"; }},

        {search,
         "method",
         "ring|votes",
         "look for the ring with the most motion, or let the motion vote for the centre",
         "ring",
         {},
         {"ring", "votes"},
         [](const Request& r) -> std::optional<Value> { return Text(std::string(Name(r.method))); },
         [](Request& r, const Value& v) { r.method = v.text == "votes" ? Method::votes : Method::ring; }},
        {search,
         "offset",
         "N",
         "of the votes along the motion; for votes only",
         "0",
         {{"N", "pixels", 0, far, true}},
         {},
         [](const Request& r) -> std::optional<Value> {
             if (!IsVotes(r)) return {};
             return Numbers({r.offset});
         },
         StoreOwn<&Request::offset>},

        {running,
         "out",
         "DIR",
         "folder for the folders of runs; made if missing",
         "runs",
         {},
         {},
         GetText<&Request::out>,
         StoreText<&Request::out>},
        {running,
         "keep",
         "N",
         "folders of runs that stay; the oldest are removed",
         "10",
         {{"N", "", 1, 100000, true}},
         {},
         GetOwn<&Request::keep>,
         StoreOwn<&Request::keep>},
        {running,
         "timeout",
         "S",
         "how long the program may run, beside its grabs, for which it has a tenth of a second each",
         "60",
         {{"S", "seconds", 1, 86400}},
         {},
         GetOwn<&Request::timeout>,
         StoreOwn<&Request::timeout>},
        {running,
         "telvane",
         "FILE",
         "the program to start",
         "the one that was installed with this one",
         {},
         {},
         GetText<&Request::telvane>,
         StoreText<&Request::telvane>},
        {running,
         "config",
         "FILE",
         "read options from this TOML file, by the same names without dashes; those of the command line win",
         "none",
         {},
         {},
         GetText<&Request::config>,
         StoreText<&Request::config>,
         1,
         false},
    };
    return options;
}

const RunOption* OptionNamed(std::string_view name)
{
    for (const RunOption& option : OptionTable())
        if (name == option.name) return &option;
    return nullptr;
}

std::string ReadWords(const RunOption& option, const std::vector<std::string>& words, Value& value)
{
    if (words.size() > option.most && option.most > 1) return TooOften(option);
    value = {};
    if (option.numbers.empty()) {
        value.text = words.back();
        return CheckText(option, "'" + value.text + "'", value.text);
    }
    for (const std::string& word : words) {
        std::vector<int> numbers;
        std::string_view rest = word;
        bool good = true, digits = true;
        for (bool more = true; more && good;) {
            const std::size_t comma = rest.find(',');
            const std::string_view part = rest.substr(0, comma);
            int number = 0;
            good = ReadNumber(part, number) && numbers.size() < option.numbers.size();
            digits = !part.empty() && part.find_first_not_of("0123456789") == part.npos;
            numbers.push_back(number);
            more = comma != rest.npos;
            if (more) rest.remove_prefix(comma + 1);
        }
        const bool tooLarge =
            digits && numbers.size() == 1 && (!good || numbers[0] > option.numbers[0].highest);
        if (!good || !Within(option, numbers)) return Refused(option, "'" + word + "'", tooLarge);
        value.entries.push_back(numbers);
    }
    return {};
}

std::string ReadJson(const RunOption& option, const nlohmann::ordered_json& json, Value& value)
{
    value = {};
    if (option.numbers.empty()) {
        if (!json.is_string()) return Refused(option, Dumped(json));
        value.text = json.get<std::string>();
        return CheckText(option, Dumped(json), value.text);
    }
    const auto read = [&option, &value](const nlohmann::ordered_json& entry) -> std::string {
        std::vector<int> numbers;
        const bool good = ReadEntry(entry, numbers);
        const bool tooLarge = good && numbers.size() == 1 && numbers[0] > option.numbers[0].highest;
        if (!good || entry.is_array() != (option.numbers.size() > 1) || !Within(option, numbers))
            return Refused(option, Dumped(entry), tooLarge);
        value.entries.push_back(numbers);
        return {};
    };
    if (option.most == 1) return read(json);
    if (!json.is_array() || (!json.empty() && !json[0].is_array()))
        return Dumped(json) + " is not a list of " + option.Allowed();
    if (json.size() > option.most) return TooOften(option);
    for (const auto& entry : json)
        if (std::string problem = read(entry); !problem.empty()) return problem;
    return {};
}

nlohmann::ordered_json ToJson(const RunOption& option, const Request& request)
{
    const std::optional<Value> value = option.get(request);
    if (!value) return nullptr;
    if (option.numbers.empty()) return value->text;
    if (option.most > 1) return value->entries;
    if (option.numbers.size() > 1) return value->entries[0];
    return value->entries[0][0];
}

std::string OptionWords(const RunOption& option, const nlohmann::ordered_json& value)
{
    const auto bare = [](const nlohmann::ordered_json& one) {
        if (one.is_string()) return one.get<std::string>();
        if (!one.is_array()) return one.dump();
        std::string text;
        for (const auto& number : one) {
            if (!text.empty()) text += ',';
            text += number.dump();
        }
        return text;
    };
    std::string words;
    const auto add = [&](const nlohmann::ordered_json& one) {
        words.append(" ").append(option.Dashed()).append(" ").append(ShellWord(bare(one)));
    };
    if (option.most > 1) std::for_each(value.begin(), value.end(), add);
    else add(value);
    return words;
}

std::string RunLine(const Request& request, const RunArguments& arguments)
{
    Request wanted = request, plain;
    wanted.arguments = arguments;
    wanted.method = arguments.HowSearched();
    wanted.offset = std::max(arguments.offset, 0);
    plain.arguments.centreX = arguments.width / 2;
    plain.arguments.centreY = arguments.height / 2;
    if (!request.frames.empty()) plain.arguments.count = 0; // as many as there are
    std::string line = "telvane-run";
    for (const RunOption& option : OptionTable()) {
        const auto value = ToJson(option, wanted);
        if (option.group != running && !value.is_null() && value != ToJson(option, plain))
            line += OptionWords(option, value);
    }
    return line;
}

std::string Complete(Request& r)
{
    const auto where = [&r](const char* name) {
        const auto place = r.given.find(name);
        return place == r.given.end() ? std::string("--") + name : place->second;
    };
    const auto given = [&r](const char* name) { return r.given.count(name) > 0; };
    RunArguments& a = r.arguments;
    for (const char* name : {"inner", "outer", "region"})
        if (!given(name)) return std::string("--") + name + " must be given";
    if (a.outerR <= a.innerR)
        return where("outer") + ": " + std::to_string(a.outerR) + " is not larger than the inner radius, " +
               std::to_string(a.innerR);
    std::tie(a.centreX, a.centreY) = r.centreInRegion.value_or(std::pair(a.width / 2, a.height / 2));
    if (a.centreX >= a.width || a.centreY > a.height)
        return where("centre-in-region") + ": " + std::to_string(a.centreX) + "," +
               std::to_string(a.centreY) + " does not lie in a region of " + std::to_string(a.width) + "," +
               std::to_string(a.height);
    if (a.period1 != a.period2 && a.period1 != 1 && a.period2 != 1)
        return where("p2") + ": of two different periods one must be 1, or no frames are compared";
    if (!IsVotes(r) && given("offset"))
        return where("offset") + ": only votes have an offset, and the method is ring";
    if (IsVotes(r) && a.turn == 0) return "--sense must be given for votes: cw or ccw";
    a.offset = IsVotes(r) ? r.offset : -1;
    a.save = true;
    a.files = !r.frames.empty();
    return {};
}

nlohmann::ordered_json ParseJson(const std::string& text, int deepest)
{
    using Json = nlohmann::ordered_json;
    // The parser takes a zero for the end of the text, whatever comes behind it.
    if (text.find('\0') != text.npos) return Json(Json::value_t::discarded);
    bool deep = false;
    const auto within = [&deep, deepest](int depth, Json::parse_event_t, const Json&) {
        deep = deep || depth > deepest;
        return depth <= deepest;
    };
    Json json = Json::parse(text, within, false);
    return deep ? Json(Json::value_t::discarded) : json;
}

std::string Dumped(const nlohmann::ordered_json& json)
{
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace telvane
