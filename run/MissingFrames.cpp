// A loss at a grab lies between the two frames whose grabs enclose it; before the first frame it spoils
// nothing.
#include <run/MissingFrames.h>

#include <Telvane/Frames.h>
#include <camera/GrabLoss.h>
#include <diagnosis/Diagnosis.h>
#include <run/Process.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>

namespace telvane {

using camera::GrabLoss;

namespace {

/// In the order of their grabs: some are told only when later ones have shown how long a frame takes.
std::vector<GrabLoss> LossesIn(std::string_view text)
{
    std::vector<GrabLoss> losses;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        GrabLoss loss;
        if (ReadLine(text.substr(0, end), loss)) losses.push_back(loss);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    std::stable_sort(losses.begin(), losses.end(),
                     [](const GrabLoss& a, const GrabLoss& b) { return a.grab < b.grab; });
    return losses;
}

/// The places of a run where something is missing.
class Gaps {
public:
    explicit Gaps(const RunArguments& arguments)
        : grabs(GrabsOf(arguments)), lost(grabs.size() > 1 ? grabs.size() - 1 : 0)
    {
    }

    /// Frames were lost before a grab.
    void Lose(int grab, int frames)
    {
        for (std::size_t i = 0; i < lost.size(); i++)
            if (grab > grabs[i] && grab <= grabs[i + 1])
                lost[i] = static_cast<int>(
                    std::min<long long>(static_cast<long long>(std::max(lost[i], 0)) + frames, INT_MAX));
    }

    /// Nothing new came from one grab up to another.
    void Repeat(int first, int last)
    {
        for (std::size_t i = 0; i < lost.size(); i++)
            if (last > grabs[i] && first <= grabs[i + 1] && lost[i] == 0) lost[i] = RunSeen::again;
    }

    std::vector<int> Take() { return std::move(lost); }

private:
    std::vector<int> grabs, lost;
};

} // namespace

std::vector<int> GrabsOf(const RunArguments& arguments)
{
    std::vector<int> grabs;
    for (int i = 0, grab = warmUpFrames + 1; i < arguments.count; i++) {
        grabs.push_back(grab);
        grab += i % 2 == 0 ? arguments.period1 : arguments.period2;
    }
    return grabs;
}

std::vector<int> MissingFrames(std::string_view err, const RunArguments& arguments)
{
    Gaps gaps(arguments);
    if (arguments.files) return {};
    if (err.size() > 2 * Capture::share)
        for (const int grab : GrabsOf(arguments)) gaps.Lose(grab, 1);

    int silent = 0; // since this grab; 0: it is not
    for (const GrabLoss& loss : LossesIn(err)) {
        switch (loss.kind) {
        case GrabLoss::Kind::none: silent = loss.grab; break;
        case GrabLoss::Kind::repeated: gaps.Repeat(loss.grab, loss.grab); break;
        case GrabLoss::Kind::lost:
            if (silent > 0) gaps.Repeat(silent, loss.grab - 1);
            silent = 0;
            gaps.Lose(loss.grab, loss.frames);
        }
    }
    if (silent > 0) gaps.Repeat(silent, INT_MAX);
    return gaps.Take();
}

} // namespace telvane
