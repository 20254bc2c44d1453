// Numbers at random that are the same on every machine.
#ifndef DIAGNOSIS_DICE_H
#define DIAGNOSIS_DICE_H

#include <cstddef>
#include <cstdint>

namespace telvane {

class Dice {
public:
    std::size_t Below(std::size_t n)
    {
        state = state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::size_t>(state >> 33) % n;
    }

private:
    std::uint64_t state = 1;
};

} // namespace telvane

#endif
