#include "sim/trends/pen_sampler.h"

#include <cmath>

#include "jxotr/opchda.h"
#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/plant/quality.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

/// By the kind of variable in the definition.
constexpr TypeCode kTypeByKind[] = {VA, AV, HI, DI, DO};

/// The current value, whatever its type; a boolean is 0 or 1.
double currentValue(const DatabaseMemory& memory, TypeCode type, std::size_t i) {
    switch (type) {
        case AV:
            return static_cast<double>(load<float>(memory.passport(AV, i) + at(AV, "IM")));
        case DI:
        case DO:
            return *memory.value(type, i) != std::byte{0} ? 1 : 0;
        default:
            return static_cast<double>(load<float>(memory.value(type, i)));
    }
}

/// The threshold for a change.
double noiseOf(const DatabaseMemory& memory, TypeCode type, std::size_t i) {
    constexpr double kPart = 0.005;
    constexpr double kFullOutput = 100;  // %
    if (type == AV) return kPart * kFullOutput;
    if (type != VA) return 0;
    const std::byte* record = memory.passport(VA, i);
    const double span = static_cast<double>(load<float>(record + at(VA, "KSHK"))) -
                        static_cast<double>(load<float>(record + at(VA, "NSHK")));
    return std::isfinite(span) ? kPart * std::fabs(span) : 0;
}

double asRecorded(std::int16_t valueType, double value) {
    if (valueType == jxo::kVtInteger) return std::round(value);
    if (valueType == jxo::kVtBoolean) return value != 0 ? 1 : 0;
    return value;
}

}  // namespace

PenSampler::PenSampler(const DatabaseMemory& memory, const trends::Definitions& definitions)
    : memory_(memory) {
    for (std::uint32_t plotter = 1; plotter <= definitions.plotters.size(); ++plotter) {
        const auto& pens = definitions.plotters[plotter - 1].pens;
        for (std::uint32_t num = 1; num <= pens.size(); ++num) {
            auto pen = penFor(pens[num - 1]);
            if (!pen) continue;
            pen->key = trends::penKey(plotter, num);
            pens_.push_back(*pen);
        }
    }
}

double PenSampler::archiveGrowth() const {
    constexpr double kFlags = 1;
    constexpr double kTable = 0.25;  // each value's part of keys, index and half empty pages
    double growth = 0;
    for (const Pen& pen : pens_) {
        growth += kFlags + kTable;
        // Booleans rarely change.
        if (pen.valueType == jxo::kVtDouble) growth += sizeof(double);
        if (pen.valueType == jxo::kVtFloat || pen.valueType == jxo::kVtInteger) {
            growth += sizeof(float);
        }
    }
    return growth;
}

std::optional<PenSampler::Pen> PenSampler::penFor(const trends::PenDefinition& definition) const {
    const TypeCode type = kTypeByKind[definition.variableKind];
    const std::size_t index = definition.variableNum - 1U;
    if (index >= memory_.of(type).count) return std::nullopt;
    if (type == HI) {
        const auto layout =
            static_cast<InputLayout>(memory_.passport(HI, index)[at(HI, "var_type")]);
        if (layout == InputLayout::string) return std::nullopt;
    }
    return Pen{0, definition.valueType, type, index, noiseOf(memory_, type, index), std::nullopt};
}

trends::Sample PenSampler::now(const Pen& pen) const {
    return {0, asRecorded(pen.valueType, currentValue(memory_, pen.type, pen.index)),
            static_cast<std::uint32_t>(qualityOf(memory_, pen.type, pen.index))};
}

void PenSampler::sample(timeval now, std::vector<PenValue>& to) {
    const std::int64_t time = now.tv_sec * kMicrosecondsPerSecond + now.tv_usec;
    for (Pen& pen : pens_) {
        trends::Sample sample = this->now(pen);
        sample.time = time;
        if (pen.last) {
            const bool moved = std::fabs(sample.value - pen.last->value) > pen.smallestChange;
            const bool isDue =
                time - pen.last->time >= kMicrosecondsPerSecond || time < pen.last->time;
            if (!moved && !isDue && sample.quality == pen.last->quality) continue;
        }
        pen.last = sample;
        to.push_back({pen.key, sample});
    }
}

}  // namespace sim
