#include "sim/plant/contact_scan.h"

#include <algorithm>

#include "sim/layout/field_table.h"
#include "sim/plant/quality.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

enum Status1 : unsigned { stateOn = 1, scanOff = 2, contactFault = 4, alarmState = 8 };

unsigned byteAt(const std::byte* record, std::size_t offset) {
    return std::to_integer<unsigned>(record[offset]);
}

bool contactState(const DiscreteTag& tag, const BoilerHouse& process) {
    constexpr float kAlmostThere = 0.99F;
    switch (tag.source) {
        case ContactSource::above:
            return process.signal(tag.index) > tag.threshold;
        case ContactSource::below:
            return process.signal(tag.index) < tag.threshold;
        case ContactSource::driveOn:
            return process.drive(tag.index) > kAlmostThere;
        case ContactSource::driveOff:
            return process.drive(tag.index) < 1 - kAlmostThere;
        case ContactSource::door:
            return process.doorOpen();
        case ContactSource::pulse:
            return process.gasPulse();
        case ContactSource::steady:
            return tag.threshold != 0;
    }
    return false;
}

void scanContact(const DatabaseMemory& memory, std::size_t i, bool contact,
                 SensorFault::Phase phase) {
    std::byte* record = memory.passport(DI, i);
    const unsigned statusBefore = byteAt(record, at(DI, "STATUS1"));
    const bool isOff = (statusBefore & scanOff) != 0;
    const bool inverted = byteAt(record, at(DI, "INVERS")) != 0;
    std::byte* data = memory.data(DI, i);
    // A faulty contact keeps the state that was read last.
    if (!isOff && phase == SensorFault::Phase::none) {
        *data = static_cast<std::byte>(contact != inverted ? 1 : 0);
    }
    const bool state = (std::to_integer<unsigned>(*data) != 0) != inverted;
    const bool alarm = byteAt(record, at(DI, "SGN0") + (state ? 1 : 0)) != 0;
    static_assert(at(DI, "SGN1") == at(DI, "SGN0") + 1);
    unsigned status = isOff ? scanOff : 0U;
    Quality quality = isOff ? Quality::uncertain : Quality::good;
    if (!isOff && phase != SensorFault::Phase::none) {
        status |= contactFault;
        quality = phase == SensorFault::Phase::sticking ? Quality::uncertain : Quality::bad;
    }
    if (state) status |= stateOn;
    if (alarm) status |= alarmState;
    *memory.value(DI, i) = static_cast<std::byte>(state ? 1 : 0);
    record[at(DI, "STATUS1")] = static_cast<std::byte>(status);
    record[at(DI, "ALARM")] = static_cast<std::byte>(alarm ? 1 : 0);
    setQuality(memory, DI, i, quality);
}

}  // namespace

void scanContacts(const DatabaseMemory& memory, std::size_t house, const BoilerHouse& process,
                  const SensorFault& fault) {
    const std::size_t first = house * kHouseContacts;
    const std::size_t last = std::min<std::size_t>(first + kHouseContacts, memory.of(DI).count);
    for (std::size_t i = first; i < last; ++i) {
        const DiscreteTag& tag = houseTags().contacts[i - first];
        scanContact(memory, i, contactState(tag, process), fault.phaseOf(i - first));
    }
}

}  // namespace sim
