#include "lib/bd_vesk/tq.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "lib/util/shmem.h"
#include "support/capture.h"
#include "support/vesk_path.h"

namespace {

constexpr std::size_t kRecord = 24;
constexpr char kVA = 0, kAV = 1, kHI = 2, kDI = 3, kDO = 4;

/// The controller's side of the table: its segments, seen as bytes, in an installation of their
/// own.
class TqTest : public testing::Test {
  protected:
    std::uint8_t* make(int index, std::size_t size) {
        ShmPtr& segment = segments_.emplace_back(ShmOpen(index, size, 0666, nullptr, 0));
        EXPECT_NE(segment, nullptr);
        return static_cast<std::uint8_t*>(segment.get());
    }
    void makeCounts(const std::vector<std::uint16_t>& counts) {
        std::memcpy(make(59, 26), counts.data(), counts.size() * 2);
    }
    static std::uint64_t number(const std::uint8_t* at, std::size_t size) {
        std::uint64_t value = 0;
        std::memcpy(&value, at, size);
        return value;
    }
    static void expectOutside(TQManager& tq, char type, std::uint16_t index) {
        SCOPED_TRACE(std::to_string(type) + "." + std::to_string(index));
        EXPECT_EQ(tq.TQGetTQFPointer(type, index), nullptr);
        EXPECT_EQ(tq.TQGetTime(type, index).tv_sec, 0);
        EXPECT_EQ(tq.TQGetTime(type, index).tv_usec, 0);
        EXPECT_EQ(tq.TQGetQuality(type, index), 0U);
        EXPECT_EQ(tq.TQGetFlags(type, index), 0U);
        EXPECT_EQ(tq.TQSetTime(type, index, {1, 1}), -1);
        EXPECT_EQ(tq.TQSetQuality(type, index, 1), -1);
        EXPECT_EQ(tq.TQSetFlags(type, index, 1), -1);
    }

    VeskPath path_;

  private:
    std::vector<ShmPtr> segments_;
};

TEST_F(TqTest, RecordsLieWhereOtherProcessesHaveThem) {
    makeCounts({2, 0, 1, 0, 3, 99, 99});
    std::uint8_t* const table = make(85, 6 * kRecord);
    TQManager tq(nullptr);
    ASSERT_EQ(tq.TQInit(0), 0);

    ASSERT_EQ(tq.TQSetTime(kHI, 0, {0x0102030405060708, 0x1112131415161718}), 0);
    ASSERT_EQ(tq.TQSetQuality(kHI, 0, 0x21222324), 0);
    ASSERT_EQ(tq.TQSetFlags(kHI, 0, 0x31323334), 0);
    const std::uint8_t* const third = table + 2 * kRecord;
    EXPECT_EQ(number(third, 8), 0x0102030405060708U);
    EXPECT_EQ(number(third + 8, 8), 0x1112131415161718U);
    EXPECT_EQ(number(third + 16, 4), 0x21222324U);
    EXPECT_EQ(number(third + 20, 4), 0x31323334U);
    EXPECT_EQ(number(third - 8, 8) + number(third + 24, 8), 0U) << "neighbours";

    for (std::size_t i = 0; i < 6 * kRecord; ++i)
        table[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(tq.TQGetTime(kDO, 2).tv_sec, 0x7F7E7D7C7B7A7978);
    EXPECT_EQ(static_cast<std::uint64_t>(tq.TQGetTime(kDO, 2).tv_usec), 0x8786858483828180U);
    EXPECT_EQ(tq.TQGetQuality(kVA, 1), 0x2B2A2928U);
    EXPECT_EQ(tq.TQGetFlags(kVA, 1), 0x2F2E2D2CU);
    EXPECT_EQ(static_cast<void*>(tq.TQGetTQFPointer(kDO, 0)), tq.TQGetTQFPointer(kVA, 0) + 3);
}

TEST_F(TqTest, NothingIsFoundOutsideTheTableWhateverBecomesOfTheCounts) {
    std::uint8_t* const table = make(85, 100 * kRecord);
    std::memset(table, 0xFF, 100 * kRecord);
    makeCounts({2, 0, 1, 0, 1});
    TQManager tq(nullptr);
    ASSERT_EQ(tq.TQInit(0), 0);
    makeCounts({0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF});
    expectOutside(tq, kVA, 2);
    expectOutside(tq, kAV, 0);
    expectOutside(tq, kDO, 1);
    expectOutside(tq, kVA, 0xFFFF);
    expectOutside(tq, 5, 0);
    expectOutside(tq, static_cast<char>(0xFF), 0);
    EXPECT_EQ(number(table + 2 * kRecord, 8), UINT64_MAX);
    EXPECT_EQ(tq.TQSetFlags(kDO, 0, 5), 0);
}

TEST_F(TqTest, WithoutCountsOrALargeEnoughTableEverythingAnswersZero) {
    TQManager noCounts(nullptr);
    expectOutside(noCounts, kVA, 0);
    std::uint16_t counts[5] = {1000, 1, 1, 1, 1};
    make(85, 10 * kRecord);
    TQManager small(counts);
    Capture out(STDOUT_FILENO);
    Capture err(STDERR_FILENO);
    EXPECT_EQ(small.TQInit(0), -1);
    small.TQPrintAll();
    EXPECT_NE(out.text().find("Error EINVAL index: 85"), std::string::npos);
    EXPECT_NE(out.text().find("VA:\nAV:\nHI:\nDI:\nDO:\n"), std::string::npos);
    expectOutside(small, kVA, 0);
}

TEST_F(TqTest, KeepsAnExistingTableAndZeroesItsOwn) {
    std::uint16_t counts[5] = {1, 0, 0, 0, 1};
    {
        TQManager creator(counts);
        ASSERT_EQ(creator.TQInit(0), 0);
        EXPECT_EQ(creator.TQGetQuality(kVA, 0), 0U);
        EXPECT_EQ(creator.TQSetQuality(kDO, 0, 0xC0), 0);
        {
            TQManager other(counts);
            ASSERT_EQ(other.TQInit(0), 0);
            EXPECT_EQ(other.TQGetQuality(kDO, 0), 0xC0U) << "not cleared";
            EXPECT_EQ(other.TQInitSnap(), -1) << "already shared";
        }
        EXPECT_EQ(path_.objectCount(), 1U) << "only its creator removes it";
        EXPECT_EQ(creator.TQGetQuality(kDO, 0), 0xC0U);
    }
    EXPECT_EQ(path_.objectCount(), 0U);
}

TEST_F(TqTest, TheDebugTableIsACopyOfTheNormalOne) {
    std::uint16_t counts[5] = {1, 0, 0, 0, 0};
    {
        TQManager alone(counts);
        EXPECT_EQ(alone.TQInit(1), -1) << "no normal table";
        EXPECT_EQ(path_.objectCount(), 0U) << "nothing is left";
    }
    make(85, kRecord)[16] = 0x40;
    TQManager debug(counts);
    ASSERT_EQ(debug.TQInit(1), 0);
    EXPECT_EQ(debug.TQGetQuality(kVA, 0), 0x40U);
    EXPECT_EQ(debug.TQSetQuality(kVA, 0, 0xC0), 0);
    TQManager normal(counts);
    ASSERT_EQ(normal.TQInit(0), 0);
    EXPECT_EQ(normal.TQGetQuality(kVA, 0), 0x40U) << "the normal table is another one";
}

TEST_F(TqTest, SnapshotsAreCopiesOfTheSharedTable) {
    std::uint16_t counts[5] = {1, 0, 0, 0, 1};
    TQManager shared(counts);
    TQManager snap(counts);
    EXPECT_EQ(shared.TQGenerateSnapFor(&snap), -1) << "not shared yet";
    ASSERT_EQ(shared.TQInit(0), 0);
    EXPECT_EQ(shared.TQGenerateSnapFor(&snap), -1) << "no table to fill";
    EXPECT_EQ(shared.TQGenerateSnapFor(nullptr), -1);
    ASSERT_EQ(snap.TQInitSnap(), 0);
    EXPECT_EQ(snap.TQInit(0), -1) << "already private";
    EXPECT_EQ(snap.TQGetFlags(kDO, 0), 0U);

    EXPECT_EQ(shared.TQSetFlags(kDO, 0, 7), 0);
    EXPECT_EQ(snap.TQGetFlags(kDO, 0), 0U);
    EXPECT_EQ(shared.TQGenerateSnapFor(&snap), 0);
    EXPECT_EQ(snap.TQGetFlags(kDO, 0), 7U);
    EXPECT_EQ(snap.TQGenerateSnapFor(&shared), -1) << "only a shared table is copied";

    std::uint16_t noVA[5] = {0, 9, 0, 0, 0};
    TQManager withoutFirst(noVA);
    ASSERT_EQ(withoutFirst.TQInitSnap(), 0);
    EXPECT_EQ(shared.TQGenerateSnapFor(&withoutFirst), -1) << "no record (0, 0)";
    std::uint16_t fewer[5] = {1, 0, 0, 0, 0};
    TQManager small(fewer);
    ASSERT_EQ(small.TQInitSnap(), 0);
    EXPECT_EQ(shared.TQGenerateSnapFor(&small), -1) << "would write beyond it";
}

TEST_F(TqTest, PrintsEveryRecord) {
    setenv("TZ", "UTC", 1);
    tzset();
    std::uint16_t counts[5] = {2, 0, 0, 1, 0};
    TQManager tq(counts);
    ASSERT_EQ(tq.TQInitSnap(), 0);
    tq.TQSetTime(kVA, 1, {1709622249, 250000});
    tq.TQSetQuality(kVA, 1, 0xC0);
    tq.TQSetFlags(kVA, 1, 0x1F);
    tq.TQSetTime(kDI, 0, {INT64_MAX, 0});
    Capture out(STDOUT_FILENO);
    tq.TQPrintAll();
    EXPECT_EQ(out.text(),
              "VA:\n"
              "VA0 - Thu Jan  1 00:00:00 1970\n | 0 | 0\n"
              "VA1 - Tue Mar  5 07:04:09 2024\n | c0 | 1f\n"
              "AV:\nHI:\nDI:\n"
              "DI0 - \n | 0 | 0\n"
              "DO:\n");
}

}  // namespace
