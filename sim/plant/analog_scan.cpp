#include "sim/plant/analog_scan.h"

#include <algorithm>
#include <cmath>

#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/plant/quality.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

enum Zapret : unsigned { scanOff = 1, alarmsInhibited = 2 };
enum Status1 : unsigned {
    sensorFault = 1,
    belowAlarm = 2,
    belowWarning = 4,
    aboveWarning = 8,
    aboveAlarm = 16,
    outOfScale = 32,
    scanIsOff = 64,
    reliable = 128
};
enum Alarm : unsigned { warning = 1, alarm = 2 };

unsigned byteAt(const std::byte* record, std::size_t offset) {
    return std::to_integer<unsigned>(record[offset]);
}
void putByte(std::byte* record, std::size_t offset, unsigned value) {
    record[offset] = static_cast<std::byte>(value);
}
float realAt(const std::byte* record, std::size_t offset) {
    return load<float>(record + offset);
}

/// The limits that the value violates. A violation lasts until the value is back by the hysteresis.
unsigned limitBits(const std::byte* record, float value, unsigned before) {
    const float hysteresis = std::max(realAt(record, at(VA, "GST")), 0.0F);
    const auto back = [&](unsigned bit) { return (before & bit) != 0 ? hysteresis : 0.0F; };
    unsigned bits = 0;
    if (value < realAt(record, at(VA, "NAG")) + back(belowAlarm)) bits |= belowAlarm;
    if (value < realAt(record, at(VA, "NPG")) + back(belowWarning)) bits |= belowWarning;
    if (value > realAt(record, at(VA, "VPG")) - back(aboveWarning)) bits |= aboveWarning;
    if (value > realAt(record, at(VA, "VAG")) - back(aboveAlarm)) bits |= aboveAlarm;
    return bits;
}

void showStatus(std::byte* record, float data, float value, Quality quality, bool isOff) {
    const unsigned before = byteAt(record, at(VA, "STATUS1"));
    unsigned status = limitBits(record, value, before);
    const bool outside =
        data < realAt(record, at(VA, "NSHK")) || data > realAt(record, at(VA, "KSHK"));
    if (outside) status |= outOfScale;
    if (quality == Quality::bad) status |= sensorFault;
    if (isOff) status |= scanIsOff;
    if (quality == Quality::good) status |= reliable;
    unsigned alarms = 0;
    if ((byteAt(record, at(VA, "ZAPRET")) & alarmsInhibited) == 0) {
        if ((status & (belowWarning | aboveWarning)) != 0) alarms |= warning;
        if ((status & (belowAlarm | aboveAlarm | sensorFault)) != 0) alarms |= alarm;
    }
    putByte(record, at(VA, "STATUS1"), status);
    putByte(record, at(VA, "ALARM"), alarms);
    putByte(record, at(VA, "DST"), quality == Quality::good ? 1 : 0);
    putByte(record, at(VA, "DIAGN"), quality == Quality::bad ? 1 : 0);
}

/// Current data in the units of the scale, as the board delivers them.
float measured(const std::byte* record, float signal, float before, SensorFault::Phase phase,
               Random& random) {
    const float low = realAt(record, at(VA, "NSHK"));
    const float high = realAt(record, at(VA, "KSHK"));
    if (phase == SensorFault::Phase::sticking) return before;
    if (phase == SensorFault::Phase::broken) return low - 0.05F * (high - low);
    const float noisy = signal + random.normal() * realAt(record, at(VA, "SKD"));
    return low < high ? std::clamp(noisy, low, high) : noisy;
}

/// Filter time 0, the default, passes the value as it is.
float filtered(float before, float now, float filterSeconds, float seconds) {
    if (!(filterSeconds > 0) || !std::isfinite(before)) return now;
    return before + (now - before) * seconds / (filterSeconds + seconds);
}

}  // namespace

void scanAnalogs(const DatabaseMemory& memory, std::size_t house, BoilerHouse& process,
                 const SensorFault& fault, float seconds) {
    const std::size_t first = house * kHouseSignals;
    const std::size_t last = std::min<std::size_t>(first + kHouseSignals, memory.of(VA).count);
    for (std::size_t i = first; i < last; ++i) {
        std::byte* record = memory.passport(VA, i);
        const bool isOff = (byteAt(record, at(VA, "ZAPRET")) & scanOff) != 0;
        const auto phase = fault.phaseOf(i - first);
        float data = load<float>(memory.data(VA, i));
        Quality quality = Quality::good;
        if (isOff || phase == SensorFault::Phase::sticking) quality = Quality::uncertain;
        if (!isOff) {
            if (phase == SensorFault::Phase::broken) quality = Quality::bad;
            data = measured(record, process.signal(i - first), data, phase, process.random());
            store(memory.data(VA, i), data);
        }
        const float before = load<float>(memory.value(VA, i));
        float value = before;
        if (quality != Quality::bad) {
            const float working = data + realAt(record, at(VA, "OTS"));
            store(record + at(VA, "WorkVAL"), working);
            value = filtered(before, working, realAt(record, at(VA, "FLT")), seconds);
        }
        store(memory.value(VA, i), value);
        store(record + at(VA, "TZV"), before);
        store(record + at(VA, "TZN"), value);
        showStatus(record, data, value, quality, isOff);
        setQuality(memory, VA, i, quality);
    }
}

}  // namespace sim
