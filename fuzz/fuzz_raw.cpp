// RAW files: any bytes, any number of them to pass over, any size.
#include <fuzz/Harness.h>

#include <Kavrix/Kavrix.h>

#include <climits>
#include <cstdio>

void Fuzz(FuzzedDataProvider& input)
{
    // Numbers near the length of the file more often than others.
    const auto number = [&input] {
        return input.ConsumeBool() ? input.ConsumeIntegralInRange(-2, 40) : input.ConsumeIntegral<int>();
    };
    const int nskip = number(), ncols = number(), nrows = number();
    const bool byName = input.ConsumeBool(), missing = input.ConsumeIntegralInRange(0, 15) == 15;
    const FileBytes file = input.ConsumeRemainingBytes<std::uint8_t>();
    if (!missing) files["picture.raw"] = file;

    MatByte m(3, 2);
    m.Fill(1);
    const Ending ending = RunToItsEnd([&] {
        if (byName) {
            m.ReadRAW("picture.raw", nskip, ncols, nrows);
        } else {
            std::FILE* const stream = std::fopen("picture.raw", "rb");
            m.ReadRAW(stream, nskip, ncols, nrows);
            if (stream != nullptr) std::fclose(stream);
        }
    });
    const char* const endOfFile = "ReadRAW: EOF reached while reading an image";
    if (missing) {
        Require(ending.HaltedWith("Cannot open raw image file"), "a file that is not there halts");
        return;
    }
    const std::int64_t skipped = nskip > 0 ? nskip : 0, size = static_cast<std::int64_t>(file.size());
    const std::int64_t pixels = std::int64_t{ncols} * nrows;
    if (skipped > size || ncols < 0 || nrows < 0) {
        Require(ending.HaltedWith(endOfFile), "what the file does not hold halts");
    } else if (ending.HaltedWith(notEnoughMemory)) {
        Require(pixels + static_cast<std::int64_t>(sizeof(Datablock)) >
                    static_cast<std::int64_t>(storage.limit),
                "memory is short only for large pictures");
    } else if (skipped + pixels > size) {
        Require(ending.HaltedWith(endOfFile), "a file that is too short halts");
    } else {
        Require(ending.returned && m.dim1 == ncols && m.dim2 == nrows, "the matrix takes the size");
        for (int y = 0; y < nrows && ncols > 0; y++)
            for (int x = 0; x < ncols; x++)
                Require(m(x, y) == file[static_cast<std::size_t>(skipped + std::int64_t{y} * ncols + x)],
                        "pixels lie row after row");
    }
}
