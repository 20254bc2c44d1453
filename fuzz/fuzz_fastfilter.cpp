// The box filters with any number of passes, on views of any layout.
#include <fuzz/Harness.h>

#include <tests/support/Pictures.h>

#include <tests/reference/Filters.h>
#include <tests/reference/Numbers.h>

namespace {

using namespace pictures;

template <class T> Picture<T> Picked(FuzzedDataProvider& input)
{
    const int w = input.ConsumeIntegralInRange(1, 24), h = input.ConsumeIntegralInRange(1, 24);
    Picture<T> picture(w, h);
    const T background = input.ConsumeIntegral<T>();
    for (T& value : picture.a) value = input.remaining_bytes() > 4 ? input.ConsumeIntegral<T>() : background;
    return picture;
}

// The expected picture, or the message of the fail-stop.
template <class F> auto Expected(F filter, std::string& message) -> decltype(filter())
{
    try {
        return filter();
    } catch (const reference::FailStop& stop) {
        message = stop.what();
        return {};
    }
}

template <class T, class Plain>
void FuzzInPlace(FuzzedDataProvider& input, const Layout& layout, int passes, Plain plain)
{
    Random random(1);
    Picture<T> picture = Picked<T>(input);
    Laid<T> laid(picture, layout, random);
    std::string message;
    const Picture<T> expected = passes < 0 ? (message = invalidRange, Picture<T>())
                                           : Expected([&] { return plain(picture, passes); }, message);
    MatOf<T> result;
    const Ending ending = RunToItsEnd([&] {
        const MatOf<T> filtered = laid.view.FastFilter(passes);
        result.Resize(filtered.dim1, filtered.dim2);
        result = filtered;
    });
    Require(laid.SurroundingsUntouched(), "only the view is written");
    if (!message.empty()) {
        Require(ending.HaltedWith(message), "a count that leaves no pixel halts");
        return;
    }
    Require(ending.returned, "a picture is filtered");
    Require(Same(result, expected), "result");
    Require(Same(laid.view, picture), "picture that was filtered in place");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    const auto count = [&input] {
        return input.ConsumeBool() ? input.ConsumeIntegralInRange(-26, 26) : input.ConsumeIntegral<int>();
    };
    const int which = input.ConsumeIntegralInRange(0, 2);
    const Layout layout = viewLayouts[input.ConsumeIntegralInRange<std::size_t>(0, viewLayouts.size() - 1)];
    const int passes = count(), passesY = count();
    if (which == 0) {
        FuzzInPlace<std::uint8_t>(input, layout, passes, reference::FastFilterByte);
    } else if (which == 1) {
        FuzzInPlace<std::int16_t>(input, layout, passes, reference::FastFilterShort);
    } else {
        Random random(1);
        const Bytes picture = Picked<std::uint8_t>(input);
        Laid<std::uint8_t> laid(picture, layout, random);
        std::string message;
        const Shorts expected =
            Expected([&] { return reference::FastFilter(picture, passes, passesY); }, message);
        MatShort result;
        const Ending ending = RunToItsEnd([&] { result = FastFilter(laid.view, passes, passesY); });
        Require(PictureOf<std::uint8_t>(laid.view) == picture && laid.SurroundingsUntouched(),
                "the source is left untouched");
        if (message.empty())
            Require(ending.returned && PictureOf<std::int16_t>(result) == expected,
                    "the result is that of the plain filter");
        else Require(ending.HaltedWith(message), "a count that leaves no pixel halts");
    }
}
