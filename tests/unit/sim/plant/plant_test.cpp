#include "sim/plant/plant.h"

#include "sim/memory/database_arrays.h"
#include "sim/plant/quality.h"
#include "tests/support/basics.h"

using enum sim::TypeCode;

/// Read and written by byte offset, as a reader of the shared memory would; variables are counted
/// from 1.
struct TestDatabase : sim::DatabaseArrays {
    using DatabaseArrays::DatabaseArrays;

    template <class T = std::uint8_t>
    T field(sim::TypeCode type, unsigned num, std::size_t offset) const {
        return sim::load<T>(memory.passport(type, num - 1) + offset);
    }
    template <class T>
    void setField(sim::TypeCode type, unsigned num, std::size_t offset, T value) {
        sim::store(memory.passport(type, num - 1) + offset, value);
    }
    template <class T>
    T value(sim::TypeCode type, unsigned num) const {
        return sim::load<T>(memory.value(type, num - 1));
    }
    void setInput(unsigned num, float value) { sim::store(memory.value(HI, num - 1), value); }
    unsigned quality(sim::TypeCode type, unsigned num) const {
        return sim::load<unsigned>(memory.timeQualityOf(type, num - 1) + 16);
    }
    std::int64_t seconds(sim::TypeCode type, unsigned num) const {
        return sim::load<std::int64_t>(memory.timeQualityOf(type, num - 1));
    }
};

constexpr sim::Counts kHouse{80, 12, 24, 60, 24, 2, 2, 2, 2, 2, 2};

// Variables of boiler 1 by number, and where their fields lie.
constexpr unsigned kWaterOut = 6, kGasLoop = 1, kWaterSetPoint = 1;
constexpr std::size_t kSetPointInUse = 50, kOutput = 167;

class PlantTest : public testing::Test {
  protected:
    void cycle() {
        now.tv_usec += 100000;
        if (now.tv_usec == 1000000) now = {now.tv_sec + 1, 0};
        plant.cycle(now, 0.1F);
    }
    void run(float seconds) {
        for (int i = 0; i < static_cast<int>(seconds * 10); ++i)
            cycle();
    }
    float meanOf(unsigned analog) {
        float sum = 0;
        for (int i = 0; i < 50; ++i) {
            cycle();
            sum += db.value<float>(VA, analog);
        }
        return sum / 50;
    }
    float output() const { return db.field<float>(AV, kGasLoop, kOutput); }

    TestDatabase db{kHouse};
    timeval now{1000, 0};
    sim::Plant plant{db.memory, 1, now};
};

TEST_F(PlantTest, StartsSettledWithGoodQualityAndItsTime) {
    for (const auto type : {VA, AV, HI, DI, DO}) {
        for (unsigned num = 1; num <= db.memory.of(type).count; ++num) {
            EXPECT_TRUE(db.quality(type, num) == 0xC0 && db.seconds(type, num) == 1000);
            EXPECT_TRUE(type != VA || db.field(VA, num, 110) == 0) << "alarm of VA " << num;
        }
    }
    EXPECT_NEAR(db.value<float>(VA, kWaterOut), 82, 1.5);
    EXPECT_EQ(db.value<float>(HI, kWaterSetPoint), 82);
    EXPECT_NEAR(output(), 55, 35) << "a loop at its limit could not show a change";
    run(2);
    EXPECT_EQ(db.seconds(DO, 24), 1002);
}

TEST_F(PlantTest, EveryLoopHoldsAndFollowsItsSetPoint) {
    const struct {
        unsigned analog, input;
        float wanted, tolerance;
    } cases[] = {
        {11, 2, 5, 0.4F}, {4, 3, -35, 2}, {56, 16, 70, 1}, {64, 17, 52, 2}, {59, 18, 0.27F, 0.01F}};
    for (const auto& c : cases)
        db.setInput(c.input, c.wanted);
    for (int i = 0; i < 3000; ++i) {
        cycle();
        ASSERT_EQ(db.quality(VA, kWaterOut), 0xC0U) << "sensors of loops do not break, others do";
    }
    for (const auto& c : cases)
        EXPECT_NEAR(meanOf(c.analog), c.wanted, c.tolerance) << "VA " << c.analog;
}

/// Also when both are written in turn, a cycle after each other.
TEST_F(PlantTest, TheLastWriteMovesBothSetPoints) {
    run(1);
    for (const float wanted : {70.0F, 82.0F, 75.0F}) {
        db.setField(AV, kGasLoop, kSetPointInUse, wanted);
        cycle();
        EXPECT_EQ(db.value<float>(HI, kWaterSetPoint), wanted);
        EXPECT_EQ(db.field<float>(AV, kGasLoop, kSetPointInUse), wanted);
    }
    db.setInput(kWaterSetPoint, 82);
    cycle();
    EXPECT_EQ(db.field<float>(AV, kGasLoop, kSetPointInUse), 82);
}

TEST_F(PlantTest, ALoopHoldsItsOutputWhileItsSensorIsBad) {
    const float before = output();
    db.setInput(kWaterSetPoint, 60);
    for (int i = 0; i < 20; ++i) {
        setQuality(db.memory, VA, kWaterOut - 1, sim::Quality::bad);
        cycle();
    }
    EXPECT_EQ(output(), before);
    cycle();
    EXPECT_NE(output(), before);
}

TEST_F(PlantTest, AnInputOffTheScanKeepsWhatAClientWrites) {
    constexpr unsigned kFlame = 1;
    db.setField<std::uint8_t>(DI, kFlame, 36, 1);
    cycle();
    EXPECT_EQ(*db.memory.data(DI, kFlame - 1), std::byte{0}) << "inverted";
    EXPECT_EQ(db.value<std::uint8_t>(DI, kFlame), 1);
    db.setField<std::uint8_t>(DI, kFlame, 36, 0);
    db.setField<std::uint8_t>(VA, 1, 107, 1);
    db.setField<std::uint8_t>(DI, kFlame, 48, 2);
    *db.memory.data(DI, kFlame - 1) = {};
    db.setField(VA, 1, 58, 2.0F);
    for (const auto& [data, above] : {std::pair{29.5F, 0}, {33.5F, 8}, {28.5F, 8}, {27.5F, 0}}) {
        sim::store(db.memory.data(VA, 0), data);
        cycle();
        EXPECT_EQ(db.field<float>(VA, 1, 103), data);
        EXPECT_EQ(db.field(VA, 1, 108) & (64 | 8), 64 | above) << "scan off, above 30";
        EXPECT_EQ(db.field(VA, 1, 110), above / 8) << "warning";
    }
    EXPECT_EQ(db.value<std::uint8_t>(DI, kFlame), 0);
    EXPECT_EQ(db.quality(DI, kFlame), 0x40U);
    EXPECT_EQ(db.field(DI, kFlame, 50), 1) << "no flame is an alarm";
}

TEST_F(PlantTest, SurvivesWhateverAClientWrites) {
    const auto before = db.arrays;
    constexpr float kHuge = std::numeric_limits<float>::max();
    for (const float poison : {std::numeric_limits<float>::quiet_NaN(), kHuge, -kHuge}) {
        for (unsigned num = 1; num <= 24; ++num) {
            if (db.field(HI, num, 27) == 0) db.setInput(num, poison);
            for (std::size_t real = 34; real <= 78; real += 4)
                db.setField(VA, num, real, poison);
            for (std::size_t real = 50; real <= 102 && num <= 12; real += 4)
                db.setField(AV, num, real, poison);
        }
        run(5);
    }
    EXPECT_EQ(db.value<float>(HI, kWaterSetPoint), 50) << "cut to its limits";
    EXPECT_EQ(db.field(HI, kWaterSetPoint, 46), 1) << "and says so";
    for (std::size_t i = 0; i < before.size(); ++i)
        std::copy(before[i].begin(), before[i].end(), db.arrays[i].begin());
    run(300);
    EXPECT_NEAR(meanOf(kWaterOut), 82, 2);
}

TEST(Plant, WorksWithPartOfAHouse) {
    const sim::Counts cases[] = {{5},
                                 {0, 12},
                                 {81, 13, 25, 61, 25, 1},
                                 {80, 12, 0, 60},
                                 {},
                                 {0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 3}};
    for (const sim::Counts& counts : cases) {
        TestDatabase db(counts);
        sim::Plant plant(db.memory, 1, {1, 0});
        for (int i = 0; i < 50; ++i)
            plant.cycle({2, 0}, 0.1F);
        EXPECT_TRUE(counts[0] < 80 || std::abs(db.value<float>(VA, kWaterOut) - 82) < 2);
    }
}
