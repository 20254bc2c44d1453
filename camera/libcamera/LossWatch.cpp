// Which frames of a camera are missing, from what it says of those that came.
#include <camera/libcamera/LossWatch.h>

#include <algorithm>
#include <climits>

namespace telvane::camera {

namespace {

constexpr std::int64_t forEver = 1'000'000'000'000'000; // nanoseconds, 11 days

int Held(std::int64_t number) { return static_cast<int>(std::clamp<std::int64_t>(number, 0, INT_MAX)); }

int Milliseconds(std::int64_t time) { return Held((time + 500'000) / 1'000'000); }

} // namespace

LossWatch::Losses LossWatch::Got(const FrameStamp& stamp, Time waited)
{
    Gap gap;
    gap.grab = ++grabs;
    gap.waited = waited.count();
    if (silent > 0) gap.silent = silent + gap.waited;
    gap.restarted = restarted;
    if (last) Compare(stamp, gap);
    if (last || gap.silent > 0) open.Add(gap);
    last = stamp;
    silent = 0;
    restarted = told = false;
    return learned.Size() >= learnedFrom || open.Size() >= patience ? Rest() : Losses();
}

void LossWatch::Compare(const FrameStamp& stamp, Gap& gap)
{
    // Whatever a camera fills in, the difference is one.
    const auto passed = static_cast<std::int64_t>(static_cast<std::uint64_t>(stamp.time) -
                                                  static_cast<std::uint64_t>(last->time));
    gap.time = std::clamp<std::int64_t>(passed, -1, forEver);
    gap.longest = std::clamp<std::int64_t>(std::max(stamp.duration, last->duration), 0, forEver);
    if (restarted) return;

    const std::uint32_t step = stamp.sequence - last->sequence;
    numbersGoOn |= step > 0;
    numbersGoBack |= step > INT_MAX;
    timesGoOn |= gap.time > 0;
    timesGoBack |= gap.time < 0;
    gap.sameNumber = step == 0;
    gap.sameTime = gap.time == 0;
    if (step > 0) gap.uncounted = std::int64_t{step} - 1;
    gap.undelivered = static_cast<std::int64_t>(stamp.delivery - last->delivery) - 1;
    if (gap.time <= 0) return;
    const std::int64_t each = gap.time / (Missing(gap) + 1);
    if (learned.Size() < learnedFrom) learned.Add(each);
    else learned[oldest++ % learnedFrom] = each;
}

std::optional<GrabLoss> LossWatch::Nothing(Time waited)
{
    grabs++;
    silent += waited.count();
    if (told) return {};
    told = true;
    return GrabLoss{GrabLoss::Kind::none, grabs, 0, Milliseconds(silent), restarted};
}

void LossWatch::Restarted(Time waited)
{
    silent += waited.count();
    restarted = true;
}

LossWatch::Losses LossWatch::Rest()
{
    Losses losses;
    for (const Gap& gap : open)
        if (GrabLoss loss; Judge(gap, loss)) losses.Add(loss);
    open.Clear();
    return losses;
}

std::int64_t LossWatch::Missing(const Gap& gap) const
{
    return std::max(NumbersHold() ? gap.uncounted : 0, gap.undelivered);
}

std::int64_t LossWatch::Period() const
{
    if (learned.Empty() || !TimesHold()) return 0;
    auto sorted = learned;
    std::sort(sorted.begin(), sorted.end());
    return sorted[(sorted.Size() - 1) / 2];
}

bool LossWatch::Judge(const Gap& gap, GrabLoss& loss) const
{
    if ((gap.sameNumber && NumbersHold()) || (gap.sameTime && TimesHold())) {
        loss = {GrabLoss::Kind::repeated, gap.grab};
        return true;
    }
    const std::int64_t period = Period() > 0 ? std::max(Period(), gap.longest) : 0,
                       passed = std::max(TimesHold() ? gap.time : 0, gap.silent);
    std::int64_t missing = Missing(gap);
    if (period > 0) missing = std::max(missing, (passed + period / 2) / period - 1); // to the nearest
    if (gap.silent > 0) missing = std::max<std::int64_t>(missing, 1);
    if (missing <= 0) return false;
    loss = {GrabLoss::Kind::lost, gap.grab, Held(missing), Milliseconds(passed > 0 ? passed : gap.waited),
            gap.restarted};
    return true;
}

} // namespace telvane::camera
