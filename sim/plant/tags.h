#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/plant/house_layout.h"

namespace sim {

/// Text of a passport: CP866, NUL-terminated, as in the record.
using Text9 = std::array<char, 9>;

/// The texts that all tags have.
struct TagTexts {
    Text9 designation{};
    Text9 name1{};
    Text9 name2{};
};

/// Codes of the field UNIT.
enum class Unit : std::uint8_t {
    none,
    celsius,
    kilopascal,
    megapascal,
    pascal,
    cubicMetrePerHour,
    tonnePerHour,
    percent,
    ampere,
    milligramPerCubicMetre,
    partsPerMillion
};

struct AnalogTag {
    TagTexts texts;
    Unit unit = Unit::none;
    std::uint8_t decimals = 0;
    float scaleLow = 0, scaleHigh = 0;
    float alarmLow = 0, warningLow = 0, warningHigh = 0, alarmHigh = 0;
    float noise = 0;  // standard deviation, units
};

/// What determines the state of a contact.
enum class ContactSource : std::uint8_t { above, below, driveOn, driveOff, door, pulse, steady };

struct DiscreteTag {
    TagTexts texts;
    ContactSource source = ContactSource::steady;
    std::size_t index = 0;  // signal or drive of the house
    float threshold = 0;    // above, below: switches here; steady: the state
    bool alarmAt1 = false;
    bool alarmAt0 = false;
};

struct CommandTag {
    TagTexts texts;
    float strokeSeconds = 0;  // of the drive, from off to on
    std::uint8_t initial = 0;
    std::size_t feedback = kNoFeedback;  // contact of the house
    static constexpr std::size_t kNoFeedback = ~std::size_t{0};
};

/// Layouts of manual inputs; the value is the code of `var_type`.
enum class InputLayout : std::uint8_t { number = 0, string = 1, boolean = 2 };

struct InputTag {
    TagTexts texts;
    InputLayout layout = InputLayout::number;
    Unit unit = Unit::none;
    float initial = 0, minimum = 0, maximum = 0;
    std::array<char, 17> text{};  // string layout
};

struct LoopTag {
    TagTexts texts;
    std::size_t signal = 0;  // process variable
    std::size_t input = 0;   // set point
    float gain = 0;          // % per unit; negative for an acting direction opposite to the signal
    float integrationSeconds = 0;
    float initialOutput = 0;  // %
    std::uint8_t decimals = 0;
};

/// The tags of one boiler house, in the order of house_layout.h. Made once; texts are converted
/// from the source's UTF-8.
struct HouseTags {
    std::vector<AnalogTag> analogs;
    std::vector<DiscreteTag> contacts;
    std::vector<CommandTag> commands;
    std::vector<InputTag> inputs;
    std::vector<LoopTag> loops;
};

[[nodiscard]] const HouseTags& houseTags();

/// True for an analog input that no controller uses: only these break at random, so that a loop's
/// response to a set point is reliable.
[[nodiscard]] bool mayBreak(std::size_t signal);

/// True for a contact that is not the feedback of a drive, for the same reason.
[[nodiscard]] bool contactMayBreak(std::size_t contact);

}  // namespace sim
