#include "sim/plant/outputs.h"

#include "sim/layout/field_table.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

enum Status1 : unsigned { outputOn = 1, contradicted = 2 };

}  // namespace

void presetOutputs(const DatabaseMemory& memory) {
    for (std::size_t i = 0; i < memory.of(DO).count; ++i) {
        const CommandTag& tag = houseTags().commands[i % kHouseDrives];
        *memory.data(DO, i) = static_cast<std::byte>(tag.initial);
        *memory.value(DO, i) = static_cast<std::byte>(tag.initial);
    }
}

void driveOutputs(const DatabaseMemory& memory, std::size_t house, const BoilerHouse& process,
                  HouseInputs& inputs) {
    const std::size_t first = house * kHouseDrives;
    for (std::size_t k = 0; k < kHouseDrives; ++k) {
        const std::size_t i = first + k;
        if (i >= memory.of(DO).count) {
            inputs.commands[k] = houseTags().commands[k].initial;
            continue;
        }
        const std::byte command = *memory.data(DO, i);
        const bool on = command != std::byte{0};
        std::byte* record = memory.passport(DO, i);
        *memory.value(DO, i) = command;
        record[at(DO, "OUT")] = command;
        inputs.commands[k] = on ? 1 : 0;
        // Also set while the drive is moving, which shows operators that it moves.
        const bool arrived = on ? process.drive(k) > 0.99F : process.drive(k) < 0.01F;
        const unsigned status = (on ? outputOn : 0U) | (arrived ? 0U : contradicted);
        record[at(DO, "STATUS1")] = static_cast<std::byte>(status);
        record[at(DO, "ALARM")] = static_cast<std::byte>(arrived ? 0 : 1);
    }
}

}  // namespace sim
