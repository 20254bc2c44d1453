// Every number of a scene that has limits, with its name, unit, limits and meaning: one table for the check
// of a scene and for the options and the help of wheelsim.
#ifndef SIMULATOR_SCENE_OPTIONS_H
#define SIMULATOR_SCENE_OPTIONS_H

#include <simulator/Wheel.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace telvane {

/// Where a number lies in a scene. The index counts the entries of a list and is 0 elsewhere.
using RealPlace = double& (*)(WheelScene&, std::size_t);
using WholePlace = int& (*)(WheelScene&, std::size_t);
using SeedPlace = std::uint32_t& (*)(WheelScene&, std::size_t);

struct Quantity {
    const char* name; ///< "ANGLE"
    const char* unit; ///< "degrees"; may be empty
    double lowest, highest;
    std::variant<RealPlace, WholePlace, SeedPlace> place;

    bool Whole() const { return !std::holds_alternative<RealPlace>(place); }
    double Of(const WheelScene& scene, std::size_t index) const;
    bool Fits(double value) const { return value >= lowest && value <= highest; } // false also for no number
    /// "ANGLE from 0 to 60 degrees", "a whole N from 1 to 1000 teeth"
    std::string Limits() const;
};

/// An option of wheelsim and what it sets.
struct SceneOption {
    const char* group; ///< heading in the help
    const char* name;  ///< with its dashes
    std::vector<Quantity> quantities;
    const char* meaning;
    const char* absent = nullptr; ///< what the help says of the default; null: its numbers

    // Of an option whose numbers are a list of entries.
    std::size_t most = 1; ///< entries
    std::size_t (*count)(const WheelScene&) = nullptr;
    void (*resize)(WheelScene&, std::size_t) = nullptr;

    bool List() const { return resize != nullptr; }
    std::size_t Entries(const WheelScene& scene) const { return List() ? count(scene) : 1; }
    /// "ANGLE,DIRECTION"
    std::string Words() const;
    /// "ANGLE from 0 to 60 degrees, DIRECTION from -360 to 360 degrees"
    std::string Limits() const;
    /// The numbers of an entry as the option takes them.
    std::string Numbers(const WheelScene& scene) const;
};

const std::vector<SceneOption>& SceneOptions();

} // namespace telvane

#endif
