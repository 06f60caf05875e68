#include "sim/plant/plant.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/plant/analog_scan.h"
#include "sim/plant/contact_scan.h"
#include "sim/plant/manual_inputs.h"
#include "sim/plant/outputs.h"
#include "sim/plant/passports.h"
#include "sim/plant/quality.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

/// At least one, so that a database without tags of the main types still has a process.
std::size_t housesFor(const DatabaseMemory& memory) {
    const struct {
        TypeCode type;
        std::size_t tags;
    } kinds[] = {{TypeCode::VA, kHouseSignals},
                 {TypeCode::AV, kHouseLoops},
                 {TypeCode::HI, kHouseInputs},
                 {TypeCode::DI, kHouseContacts},
                 {TypeCode::DO, kHouseDrives}};
    std::size_t houses = 1;
    for (const auto& kind : kinds) {
        const std::size_t count = memory.of(kind.type).count;
        houses = std::max(houses, (count + kind.tags - 1) / kind.tags);
    }
    return houses;
}

}  // namespace

Plant::Plant(const DatabaseMemory& memory, std::uint64_t seed, timeval now) : memory_(memory) {
    writePassports(memory_);
    presetManualInputs(memory_);
    presetOutputs(memory_);
    const std::size_t count = housesFor(memory_);
    houses_.reserve(count);
    for (std::size_t number = 0; number < count; ++number) {
        houses_.push_back({BoilerHouse(seed), ControlLoops(number), {}, {}, {}});
    }
    settle();
    for (std::size_t number = 0; number < count; ++number) {
        houses_[number].process.reseed(seed + number);
    }
    for (std::size_t t = 0; t < kMainTypeCount; ++t) {
        for (std::size_t i = 0; i < memory_.types[t].count; ++i) {
            setQuality(memory_, kTypes[t].type, i, Quality::good);
        }
    }
    countPlainValues();
    stampTimes(now);
}

/// Runs the process of the first house until it has settled, without sensor failures. The other
/// houses start from its final state.
void Plant::settle() {
    constexpr int kSteps = 240;
    constexpr float kStep = 0.5F;
    House& first = houses_.front();
    for (int i = 0; i < kSteps; ++i) {
        control(0, kStep);
        first.process.advance(first.inputs, kStep);
        scanAnalogs(memory_, 0, first.process, first.sensorFault, kStep);
    }
    copyFirstHouse();
    for (std::size_t number = 0; number < houses_.size(); ++number) {
        const House& house = houses_[number];
        scanAnalogs(memory_, number, houses_[number].process, house.sensorFault, kStep);
        scanContacts(memory_, number, house.process, house.contactFault);
    }
}

/// There are further houses only for types of which the first house has all its variables.
void Plant::copyFirstHouse() {
    for (std::size_t number = 1; number < houses_.size(); ++number) {
        houses_[number].process = houses_.front().process;
        for (std::size_t loop = 0; loop < kHouseLoops; ++loop) {
            const std::size_t i = number * kHouseLoops + loop;
            if (i >= memory_.of(TypeCode::AV).count) break;
            const std::byte* from = memory_.passport(TypeCode::AV, loop);
            std::byte* to = memory_.passport(TypeCode::AV, i);
            for (const std::size_t field :
                 {at(TypeCode::AV, "RSS"), at(TypeCode::AV, "IM"), at(TypeCode::AV, "IMR")}) {
                std::copy_n(from + field, sizeof(float), to + field);
            }
        }
    }
}

void Plant::cycle(timeval now, float seconds) {
    elapsed_ += static_cast<double>(seconds);
    ++cycles_;
    for (std::size_t number = 0; number < houses_.size(); ++number) {
        House& house = houses_[number];
        control(number, seconds);
        house.process.advance(house.inputs, seconds);
        scan(number, seconds);
    }
    countPlainValues();
    stampTimes(now);
}

void Plant::control(std::size_t number, float seconds) {
    House& house = houses_[number];
    takeManualInputs(memory_, number, house.inputs);
    house.loops.run(memory_, house.process, house.inputs, seconds);
    driveOutputs(memory_, number, house.process, house.inputs);
}

void Plant::scan(std::size_t number, float seconds) {
    House& house = houses_[number];
    house.sensorFault.advance(house.process.random(), kHouseSignals, mayBreak, seconds);
    house.contactFault.advance(house.process.random(), kHouseContacts, contactMayBreak, seconds);
    scanAnalogs(memory_, number, house.process, house.sensorFault, seconds);
    scanContacts(memory_, number, house.process, house.contactFault);
}

/// The types without records: running time in hours, minutes and seconds, slow waves, counters and
/// flags; each variable differs a little from its neighbour.
void Plant::countPlainValues() {
    const auto fill = [this](TypeCode type, auto valueOf) {
        for (std::size_t i = 0; i < memory_.of(type).count; ++i) {
            store(memory_.value(type, i), valueOf(i));
        }
    };
    const double seconds = elapsed_;
    const auto scaled = [seconds](double unit) {
        return [=](std::size_t i) { return static_cast<float>(seconds / unit + double(i)); };
    };
    fill(TypeCode::TH, scaled(3600));
    fill(TypeCode::TM, scaled(60));
    fill(TypeCode::TS, scaled(1));
    const float phase = static_cast<float>(std::fmod(seconds, 60.0) / 60.0);
    fill(TypeCode::FV, [=](std::size_t i) {
        const float place = phase + static_cast<float>(i % 64) / 64;
        return 100 * std::fabs(2 * (place - std::floor(place)) - 1);  // 0 to 100 and back
    });
    fill(TypeCode::IV, [this](std::size_t i) {
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(cycles_ + i));
    });
    fill(TypeCode::LV,
         [this](std::size_t i) { return static_cast<std::uint8_t>((cycles_ / 10 + i) & 1); });
}

void Plant::stampTimes(timeval now) const {
    std::size_t records = 0;
    for (std::size_t t = 0; t < kMainTypeCount; ++t) {
        records += memory_.types[t].count;
    }
    std::byte* record = memory_.timeQuality;
    for (std::size_t i = 0; i < records; ++i, record += TimeQualityLayout::kSize) {
        store(record + TimeQualityLayout::kSeconds, std::int64_t{now.tv_sec});
        store(record + TimeQualityLayout::kMicroseconds, std::int64_t{now.tv_usec});
    }
}

}  // namespace sim
