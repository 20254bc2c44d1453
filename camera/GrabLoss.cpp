// A line is read by what stands between its words, and is one if it would be written the same.
#include <camera/GrabLoss.h>

#include <tools/Numbers.h>

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

std::string LineOf(const GrabLoss& loss)
{
    std::string line(begin);
    const std::string grab = std::to_string(loss.grab);
    switch (loss.kind) {
    case GrabLoss::Kind::repeated: return line.append(repeatBegin).append(grab).append(repeatEnd);
    case GrabLoss::Kind::none: line.append(noneAt); break;
    case GrabLoss::Kind::lost:
        line.append(std::to_string(loss.frames)).append(loss.frames == 1 ? " frame" : " frames");
        line.append(lostBefore);
    }
    line.append(grab).append(silentFor).append(std::to_string(loss.silent)).append(unit);
    return loss.restarted ? line.append(restarted) : line;
}

bool ReadLine(std::string_view line, GrabLoss& loss)
{
    GrabLoss read;
    if (!ReadParts(line, read) || LineOf(read) != line) return false;
    loss = read;
    return true;
}

} // namespace telvane::camera
