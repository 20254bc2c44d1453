// A line is read by what stands between its words, and is one if it would be written the same.
#include <camera/GrabLoss.h>

#include <tools/Numbers.h>

#include <algorithm>
#include <charconv>

namespace telvane::camera {

namespace {

const std::string_view begin = "Camera: ", lostBefore = " lost before grab ", noneAt = "no frame at grab ",
                       repeatBegin = "grab ", repeatEnd = " repeats the frame before",
                       silentFor = ", silent for ", unit = " ms", restarted = ", restarted";

/// Takes a number from the front of a text.
bool TakeNumber(std::string_view& text, int& number)
{
    const std::size_t end = text.find_first_not_of("0123456789");
    if (!ReadNumber(text.substr(0, end), number)) return false;
    text.remove_prefix(end == text.npos ? text.size() : end);
    return true;
}

bool Take(std::string_view& text, std::string_view word)
{
    if (text.substr(0, word.size()) != word) return false;
    text.remove_prefix(word.size());
    return true;
}

bool ReadParts(std::string_view text, GrabLoss& loss)
{
    if (!Take(text, begin)) return false;
    if (Take(text, repeatBegin)) {
        loss.kind = GrabLoss::Kind::repeated;
        return TakeNumber(text, loss.grab);
    }
    if (Take(text, noneAt)) {
        loss.kind = GrabLoss::Kind::none;
    } else {
        if (!TakeNumber(text, loss.frames) || !(Take(text, " frames") || Take(text, " frame")) ||
            !Take(text, lostBefore))
            return false;
        loss.kind = GrabLoss::Kind::lost;
    }
    if (!TakeNumber(text, loss.grab) || !Take(text, silentFor) || !TakeNumber(text, loss.silent) ||
        !Take(text, unit))
        return false;
    loss.restarted = Take(text, restarted);
    return true;
}

} // namespace

void GrabLossLine::Add(std::string_view words)
{
    const std::size_t fits = std::min(words.size(), text.size() - size);
    std::copy_n(words.begin(), fits, text.begin() + static_cast<std::ptrdiff_t>(size));
    size += fits;
}

void GrabLossLine::Add(int number)
{
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    Add({digits, static_cast<std::size_t>(end - digits)});
}

GrabLossLine LineOf(const GrabLoss& loss)
{
    GrabLossLine line;
    line.Add(begin);
    switch (loss.kind) {
    case GrabLoss::Kind::repeated:
        line.Add(repeatBegin);
        line.Add(loss.grab);
        line.Add(repeatEnd);
        return line;
    case GrabLoss::Kind::none: line.Add(noneAt); break;
    case GrabLoss::Kind::lost:
        line.Add(loss.frames);
        line.Add(loss.frames == 1 ? " frame" : " frames");
        line.Add(lostBefore);
    }
    line.Add(loss.grab);
    line.Add(silentFor);
    line.Add(loss.silent);
    line.Add(unit);
    if (loss.restarted) line.Add(restarted);
    return line;
}

bool ReadLine(std::string_view line, GrabLoss& loss)
{
    GrabLoss read;
    if (!ReadParts(line, read) || LineOf(read).Text() != line) return false;
    loss = read;
    return true;
}

} // namespace telvane::camera
