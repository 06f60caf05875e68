#include "trends/pen_sampler.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "layout/field_table.h"
#include "plant/quality.h"

namespace {

using sim::TypeCode;

/// Two analog inputs with a scale of 0 to 100 and a contact, in plain memory.
struct SmallDatabase {
    SmallDatabase() {
        auto& analog = memory.of(TypeCode::VA);
        analog = {2, passports, nullptr, analogs};
        memory.of(TypeCode::DI) = {1, nullptr, nullptr, contacts};
        memory.timeQuality = quality;
        for (std::size_t i = 0; i < 2; ++i) {
            sim::store(memory.passport(TypeCode::VA, i) + sim::at(TypeCode::VA, "KSHK"), 100.0F);
            setQuality(memory, TypeCode::VA, i, sim::Quality::good);
        }
    }
    std::byte passports[2 * 114]{}, analogs[8]{}, contacts[1]{}, quality[3 * 24]{};
    sim::DatabaseMemory memory;
};

TEST(PenSampler, TakesChangesBeyondNoiseAndAValueASecond) {
    SmallDatabase database;
    std::string problem;
    const auto definitions = trends::parseDefinitions(
        "[Plotter_1]\nPen_1 = VA, 1, float\nPen_2 = VA, 2, integer\nPen_3 = VD, 1, boolean\n"
        "Pen_4 = VA, 3, float\n",  // no such variable
        problem);
    sim::PenSampler sampler(database.memory, definitions);
    EXPECT_EQ(sampler.recordedPens(), 3U);
    const struct {
        const char* why;
        int ms;
        float first, second;
        unsigned contact;
        sim::Quality quality;  // of the first
        std::map<std::int64_t, double> want;
    } steps[] = {
        {"at first all", 0, 10, 20.4F, 0, sim::Quality::good, {{1, 10}, {2, 20}, {3, 0}}},
        {"noise", 100, 10.4F, 20.2F, 0, sim::Quality::good, {}},
        {"beyond the noise", 200, 10.6F, 20.4F, 1, sim::Quality::good, {{1, 10.6F}, {3, 1}}},
        {"noise again, from the new value", 300, 10.2F, 20.4F, 1, sim::Quality::good, {}},
        {"quality", 400, 10.2F, 20.4F, 1, sim::Quality::bad, {{1, 10.2F}}},
        {"a second without a change", 1000, 10.2F, 20.4F, 1, sim::Quality::bad, {{2, 20}}},
        {"a second later still", 1400, 10.2F, 20.4F, 1, sim::Quality::bad, {{1, 10.2F}, {3, 1}}},
        {"clock set back", 500, 10.2F, 20.4F, 1, sim::Quality::bad, {{1, 10.2F}, {2, 20}, {3, 1}}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.why);
        sim::store(database.analogs, step.first);
        sim::store(database.analogs + 4, step.second);
        database.contacts[0] = static_cast<std::byte>(step.contact);
        setQuality(database.memory, TypeCode::VA, 0, step.quality);
        std::vector<sim::PenValue> values;
        sampler.sample({1000, step.ms * 1000}, values);
        std::map<std::int64_t, double> got;
        for (const auto& value : values) {
            got[value.pen - trends::penKey(1, 0)] = value.sample.value;
            EXPECT_EQ(value.sample.time, 1'000'000'000 + step.ms * 1000);
        }
        EXPECT_EQ(got, step.want);
    }
}

}  // namespace
