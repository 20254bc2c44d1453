// Masks: any rectangles over a region from (0, 0) with the size of the frames.
#include <fuzz/Harness.h>

#include <Telvane/Telvane.h>

#include <tests/support/Wheels.h>

#include <tests/reference/Detection.h>
#include <tests/reference/Numbers.h>

void Fuzz(FuzzedDataProvider& input)
{
    const int w = input.ConsumeIntegralInRange(1, 40), h = input.ConsumeIntegralInRange(1, 40);
    const int frames = input.ConsumeIntegralInRange(1, 3);
    Sequence seq(w, h, frames, 200);
    CubByte cube = ToCube(seq);
    const reference::Region iroi = {0, 0, w, h, 1};

    const auto number = [&input] {
        return input.ConsumeBool() ? input.ConsumeIntegralInRange(-50, 50) : input.ConsumeIntegral<int>();
    };
    std::vector<reference::Region> rectangles;
    std::vector<VecInt> vectors;
    for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; count--) {
        const int x = number(), y = number(), width = number(), height = number();
        rectangles.push_back({x, y, width, height, 1});
        vectors.push_back(VecInt(x, y, width, height, 1));
    }

    std::string message;
    try {
        reference::Mask(seq, iroi, rectangles);
    } catch (const reference::FailStop& stop) {
        message = stop.what();
    }
    int result = -1;
    const VecInt region(iroi[0], iroi[1], iroi[2], iroi[3], iroi[4]);
    const Ending ending =
        RunToItsEnd([&] { result = Mask(cube, region, vectors.data(), static_cast<int>(vectors.size())); });
    if (message.empty()) Require(ending.returned && result == 0, "rectangles are blanked");
    else Require(ending.HaltedWith(message), "a rectangle without an inside halts");
    Require(ToSequence(cube) == seq, "the frames are those of the plain masks");
    for (std::size_t i = 0; i < vectors.size(); i++)
        Require(ToValues(vectors[i]) == std::vector<std::int32_t>(rectangles[i].begin(), rectangles[i].end()),
                "the rectangles are left as they are");
}
