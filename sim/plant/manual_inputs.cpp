#include "sim/plant/manual_inputs.h"

#include <algorithm>
#include <cmath>

#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

void takeNumber(std::byte* record, std::byte* value) {
    const float before = load<float>(record + at(HI, "number.TZN"));
    const float wanted = load<float>(value);
    const float low = load<float>(record + at(HI, "number.MIN"));
    const float high = load<float>(record + at(HI, "number.MAX"));
    float taken = std::isfinite(wanted) ? wanted : before;
    if (low <= high) taken = std::clamp(taken, low, high);
    const bool cut = taken != wanted;
    // The mark of a limited value stays until the next value is written.
    const bool changed = taken != before;
    if (cut) record[at(HI, "ALARM")] = std::byte{1};
    if (changed && !cut) record[at(HI, "ALARM")] = std::byte{0};
    store(value, taken);
    store(record + at(HI, "number.TZN2"), before);
    store(record + at(HI, "number.TZN"), taken);
}

void takeBoolean(const std::byte* record, std::byte* value) {
    const bool on = record[at(HI, "boolean.TZN")] != std::byte{0};
    store(value, on ? 1.0F : 0.0F);
}

void takeInput(std::byte* record, std::byte* value) {
    switch (static_cast<InputLayout>(record[at(HI, "var_type")])) {
        case InputLayout::number:
            takeNumber(record, value);
            break;
        case InputLayout::boolean:
            takeBoolean(record, value);
            break;
        case InputLayout::string:
            break;
    }
}

}  // namespace

void takeManualInputs(const DatabaseMemory& memory, std::size_t house, HouseInputs& inputs) {
    const std::size_t first = house * kHouseInputs;
    const std::size_t last = std::min<std::size_t>(first + kHouseInputs, memory.of(HI).count);
    for (std::size_t i = first; i < last; ++i) {
        takeInput(memory.passport(HI, i), memory.value(HI, i));
    }
    for (std::size_t boiler = 0; boiler < kBoilers; ++boiler) {
        const float permit =
            manualInput(memory, house, ofBoiler(boiler, BoilerInput::permit), 1.0F);
        inputs.boilerPermitted[boiler] = permit != 0 ? 1 : 0;
    }
}

void presetManualInputs(const DatabaseMemory& memory) {
    for (std::size_t i = 0; i < memory.of(HI).count; ++i) {
        store(memory.value(HI, i), houseTags().inputs[i % kHouseInputs].initial);
    }
}

float manualInput(const DatabaseMemory& memory, std::size_t house, std::size_t input,
                  float missing) {
    const std::size_t i = house * kHouseInputs + input;
    return i < memory.of(HI).count ? load<float>(memory.value(HI, i)) : missing;
}

}  // namespace sim
