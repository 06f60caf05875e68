#include "sim/plant/control_loops.h"

#include <algorithm>
#include <cmath>

#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/plant/manual_inputs.h"
#include "sim/plant/quality.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

enum Status1 : unsigned { manualMode = 1, atMaximum = 2, atMinimum = 4, held = 8 };

float get(const std::byte* record, std::size_t offset) {
    return load<float>(record + offset);
}
void put(std::byte* record, std::size_t offset, float value) {
    store(record + offset, value);
}

struct ProcessVariable {
    float value;
    bool bad;
};

/// The measured value if there is an input for it, else the true one of the process.
ProcessVariable processVariable(const DatabaseMemory& memory, std::size_t house, std::size_t signal,
                                const BoilerHouse& process) {
    const std::size_t i = house * kHouseSignals + signal;
    if (i >= memory.of(VA).count) return {process.signal(signal), false};
    return {load<float>(memory.value(VA, i)), qualityOf(memory, VA, i) == Quality::bad};
}

/// Change of the output in automatic mode, by the velocity form of the PI law.
float automaticChange(std::byte* record, float error, float seconds) {
    const float gain = get(record, at(AV, "KP"));
    const float integration = get(record, at(AV, "T"));
    const float proportional = gain * (error - get(record, at(AV, "RSSP")));
    const float integral = integration > 0 ? gain * error * seconds / integration : 0;
    put(record, at(AV, "PIM"), proportional);
    return proportional + integral;
}

/// Shifts the remembered errors and shows everything that follows from set point and process
/// variable.
void showError(std::byte* record, float setPoint, float process, float error) {
    const float scaleLow = get(record, at(AV, "NEC"));
    const float span = get(record, at(AV, "KNEC")) - scaleLow;
    constexpr std::size_t kErrors = 4;
    for (std::size_t n = kErrors - 1; n > 0; --n) {
        put(record, at(AV, "RSSN") + 4 * n, get(record, at(AV, "RSSN") + 4 * (n - 1)));
    }
    put(record, at(AV, "RSSN"), error);
    put(record, at(AV, "PRD"), get(record, at(AV, "PRM")));
    put(record, at(AV, "PRM"), process);
    put(record, at(AV, "RSSP"), get(record, at(AV, "RSS")));
    put(record, at(AV, "RSS"), error);
    constexpr float kForget = 0.02F;
    const float square = get(record, at(AV, "SRSS"));
    put(record, at(AV, "SRSS"), square + kForget * (error * error - square));
    if (span == 0) return;
    put(record, at(AV, "ZDP"), 100 * (setPoint - scaleLow) / span);
    put(record, at(AV, "PZD"), 100 * (process - scaleLow) / span);
}

/// Runs the controller of one record.
/// @return its output, %
float runLoop(std::byte* record, float setPoint, ProcessVariable process, float seconds) {
    float error = setPoint - process.value;
    if (std::fabs(error) < get(record, at(AV, "ZPM"))) error = 0;
    showError(record, setPoint, process.value, error);

    const unsigned before = std::to_integer<unsigned>(record[at(AV, "STATUS1")]);
    const bool manual = (before & manualMode) != 0;
    const float last = get(record, at(AV, "IM"));
    float output = last;
    if (manual) {
        output = get(record, at(AV, "IMR"));
    } else if (!process.bad) {
        output = last + automaticChange(record, error, seconds);
    }
    const float low = get(record, at(AV, "MIN"));
    const float high = get(record, at(AV, "MAX"));
    if (!std::isfinite(output)) output = std::isfinite(last) ? last : 0;
    if (low <= high) output = std::clamp(output, low, high);

    put(record, at(AV, "IMP"), last);
    put(record, at(AV, "IM"), output);
    put(record, at(AV, "DIM"), output - last);
    if (!manual) put(record, at(AV, "IMR"), output);
    unsigned status = before & manualMode;
    if (output >= high) status |= atMaximum;
    if (output <= low) status |= atMinimum;
    if (process.bad) status |= held;
    record[at(AV, "STATUS1")] = static_cast<std::byte>(status);
    record[at(AV, "ALARM")] = static_cast<std::byte>(process.bad ? 1 : 0);
    return output;
}

}  // namespace

void ControlLoops::run(const DatabaseMemory& memory, const BoilerHouse& process,
                       HouseInputs& inputs, float seconds) {
    for (std::size_t loop = 0; loop < kHouseLoops; ++loop) {
        const LoopTag& tag = houseTags().loops[loop];
        const std::size_t i = house_ * kHouseLoops + loop;
        if (i >= memory.of(AV).count) {
            inputs.controllerOutputs[loop] = tag.initialOutput;
            continue;
        }
        std::byte* record = memory.passport(AV, i);
        const float wanted = setPoint(memory, loop, record);
        const auto variable = processVariable(memory, house_, tag.signal, process);
        const float output = runLoop(record, wanted, variable, seconds);
        inputs.controllerOutputs[loop] = std::clamp(output, 0.0F, 100.0F);  // what a drive can do
    }
}

/// The last change decides, whether of the manual input or of the field ZD.
float ControlLoops::setPoint(const DatabaseMemory& memory, std::size_t loop, std::byte* record) {
    const LoopTag& tag = houseTags().loops[loop];
    SetPoints& seen = setPoints_[loop];
    float wanted = manualInput(memory, house_, tag.input, houseTags().inputs[tag.input].initial);
    const bool byWeather = weatherCurve(memory, loop, wanted);
    float inUse = get(record, at(AV, "ZD"));
    if (!std::isfinite(inUse)) inUse = seen.inUse;
    const bool written = seen.known && inUse != seen.inUse;
    const float low = get(record, at(AV, "SMIN"));
    const float high = get(record, at(AV, "SMAX"));
    const auto limited = [&](float value) {
        return low <= high ? std::clamp(value, low, high) : value;
    };
    if (!seen.known || byWeather || wanted != seen.wanted) {
        inUse = limited(wanted);
    } else if (written) {
        inUse = limited(inUse);
        const std::size_t input = house_ * kHouseInputs + tag.input;
        if (input < memory.of(TypeCode::HI).count) {
            store(memory.value(TypeCode::HI, input), inUse);
            wanted = inUse;
        }
    }
    put(record, at(AV, "ZDD"), seen.known ? seen.inUse : inUse);
    put(record, at(AV, "ZD"), inUse);
    seen = {wanted, inUse, true};
    return inUse;
}

/// In weather mode the supply temperature follows the outdoor temperature by the heating curve, not
/// its manual input.
bool ControlLoops::weatherCurve(const DatabaseMemory& memory, std::size_t loop,
                                float& wanted) const {
    if (loop != common(CommonLoop::mix)) return false;
    const auto input = [&](CommonInput which) {
        const std::size_t number = common(which);
        return manualInput(memory, house_, number, houseTags().inputs[number].initial);
    };
    if (input(CommonInput::weatherMode) == 0) return false;
    constexpr float kSummerTemperature = 45;
    if (input(CommonInput::summer) != 0) {
        wanted = kSummerTemperature;
        return true;
    }
    const std::size_t outdoor = house_ * kHouseSignals + common(CommonSignal::outdoor);
    if (outdoor >= memory.of(VA).count) return false;
    const float cold = 20 - load<float>(memory.value(VA, outdoor));
    wanted = 35 + input(CommonInput::curveSlope) * cold + input(CommonInput::curveShift);
    return true;
}

}  // namespace sim
