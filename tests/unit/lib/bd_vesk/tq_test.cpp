#include "lib/bd_vesk/tq.h"

#include "lib/util/shmem.h"
#include "tests/support/capture.h"
#include "tests/support/vesk_path.h"

constexpr std::size_t kRecord = 24;
constexpr char kVA = 0, kAV = 1, kHI = 2, kDI = 3, kDO = 4;

/// The controller's side of the table: its segments, seen as bytes, in an installation of their
/// own.
class TqTest : public testing::Test {
  protected:
    char* make(int index, std::size_t size) {
        ShmPtr& segment = segments_.emplace_back(ShmOpen(index, size, 0666, nullptr, 0));
        EXPECT_NE(segment, nullptr);
        return static_cast<char*>(segment.get());
    }
    void makeCounts(const std::vector<std::uint16_t>& counts) {
        std::memcpy(make(59, 26), counts.data(), counts.size() * 2);
    }
    static void expectOutside(TQManager& tq, char type, std::uint16_t index) {
        SCOPED_TRACE(std::to_string(type) + "." + std::to_string(index));
        EXPECT_EQ(tq.TQGetTQFPointer(type, index), nullptr);
        const auto [seconds, microseconds] = tq.TQGetTime(type, index);
        EXPECT_TRUE(seconds == 0 && microseconds == 0);
        EXPECT_EQ(tq.TQGetQuality(type, index) | tq.TQGetFlags(type, index), 0U);
        EXPECT_EQ(tq.TQSetTime(type, index, {1, 1}), -1);
        EXPECT_EQ(tq.TQSetQuality(type, index, 1), -1);
        EXPECT_EQ(tq.TQSetFlags(type, index, 1), -1);
    }

    VeskPath path_;

  private:
    std::vector<ShmPtr> segments_;
};

TEST_F(TqTest, RecordsLieWhereOtherProcessesHaveThem) {
    TQManager tq(nullptr);  // a server that starts while the controller does
    makeCounts({2, 0, 1, 0, 3, 99, 99});
    char* const table = make(85, 6 * kRecord);
    expectOutside(tq, kVA, 0);
    ASSERT_EQ(tq.TQInit(0), 0);

    EXPECT_EQ(tq.TQSetTime(kHI, 0, {0x6867666564636261, 0x706F6E6D6C6B6A69}), 0);
    EXPECT_EQ(tq.TQSetQuality(kHI, 0, 0x74737271), 0);
    EXPECT_EQ(tq.TQSetFlags(kHI, 0, 0x78777675), 0);
    const std::string zeros(2 * kRecord, '\0');
    EXPECT_EQ(std::string(table, 5 * kRecord), zeros + "abcdefghijklmnopqrstuvwx" + zeros);

    std::iota(table, table + 6 * kRecord, '\0');
    EXPECT_EQ(tq.TQGetTime(kDO, 2).tv_sec, 0x7F7E7D7C7B7A7978);
    EXPECT_EQ(static_cast<std::uint64_t>(tq.TQGetTime(kDO, 2).tv_usec), 0x8786858483828180U);
    EXPECT_EQ(tq.TQGetQuality(kVA, 1), 0x2B2A2928U);
    EXPECT_EQ(tq.TQGetFlags(kVA, 1), 0x2F2E2D2CU);
    EXPECT_EQ(tq.TQGetTQFPointer(kDO, 0), tq.TQGetTQFPointer(kVA, 0) + 3);
}

TEST_F(TqTest, NothingIsFoundOutsideTheTableWhateverBecomesOfTheCounts) {
    make(85, 10 * kRecord);
    makeCounts({0, 0, 0, 0, 0});
    TQManager tq(nullptr);
    makeCounts({2, 0, 1, 0, 1});
    ASSERT_EQ(tq.TQInit(0), 0);
    makeCounts({1, 0, 1, 0, 1});
    expectOutside(tq, kVA, 1);
    EXPECT_EQ(tq.TQGetTQFPointer(kDO, 0), tq.TQGetTQFPointer(kVA, 0) + 3) << "nothing moves";
    makeCounts({0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF});
    for (const auto& [type, index] :
         {std::pair(kVA, 2), {kAV, 0}, {kDO, 1}, {kVA, 0xFFFF}, {'\x05', 0}, {'\xFF', 0}})
        expectOutside(tq, type, static_cast<std::uint16_t>(index));

    TQManager tableTooSmall(nullptr);
    const Capture out(STDOUT_FILENO);
    EXPECT_EQ(tableTooSmall.TQInit(0), -1);
    expectOutside(tableTooSmall, kVA, 0);
}

TEST_F(TqTest, TheSharedTableTheDebugTableAndSnapshotsAreTablesOfTheirOwn) {
    std::uint16_t counts[5] = {1, 0, 0, 0, 1}, fewer[5] = {1}, others[5] = {0, 9};
    auto maker = std::make_unique<TQManager>(counts);
    TQManager second(counts), debug(counts), snap(counts), smaller(fewer), without(others);
    EXPECT_EQ(debug.TQInit(1), -1) << "no normal table";
    EXPECT_EQ(path_.objectCount(), 0U) << "nothing is left";
    EXPECT_EQ(maker->TQGenerateSnapFor(&snap), -1) << "not shared yet";
    ASSERT_EQ(maker->TQInit(0), 0);
    EXPECT_EQ(maker->TQGetFlags(kDO, 0), 0U);
    EXPECT_EQ(maker->TQGenerateSnapFor(&snap) + maker->TQGenerateSnapFor(nullptr), -2);
    ASSERT_EQ(snap.TQInitSnap() + smaller.TQInitSnap() + without.TQInitSnap(), 0);
    EXPECT_EQ(snap.TQInit(0) + maker->TQInitSnap(), -2) << "private or shared already";

    EXPECT_EQ(maker->TQSetFlags(kDO, 0, 7), 0);
    ASSERT_EQ(second.TQInit(0) + debug.TQInit(1), 0);
    { ASSERT_EQ(TQManager(counts).TQInit(0), 0); }
    EXPECT_EQ(path_.objectCount(), 2U) << "only its maker removes a table";
    EXPECT_EQ(maker->TQGenerateSnapFor(&snap), 0);
    for (TQManager* const filled : {&second, &debug, &snap})
        EXPECT_EQ(filled->TQGetFlags(kDO, 0), 7U) << "not cleared, or copied";
    EXPECT_EQ(debug.TQSetFlags(kDO, 0, 8), 0);
    EXPECT_EQ(second.TQGetFlags(kDO, 0), 7U);
    EXPECT_EQ(snap.TQGenerateSnapFor(maker.get()), -1) << "only a shared table is copied";
    EXPECT_EQ(maker->TQGenerateSnapFor(&smaller), -1) << "it would be written beyond";
    EXPECT_EQ(maker->TQGenerateSnapFor(&without), -1) << "it lacks a record";
    maker.reset();
    EXPECT_EQ(path_.objectCount(), 1U);
}

TEST_F(TqTest, PrintsEveryRecord) {
    setenv("TZ", "UTC", 1);
    tzset();
    std::uint16_t counts[5] = {2, 0, 0, 1, 0};
    TQManager tq(counts);
    ASSERT_EQ(tq.TQInitSnap(), 0);
    *tq.TQGetTQFPointer(kVA, 1) = {{1709622249, 250000}, 0xC0, 0x1F};
    tq.TQSetTime(kDI, 0, {INT64_MAX, 0});
    Capture out(STDOUT_FILENO);
    tq.TQPrintAll();
    EXPECT_EQ(out.text(),
              "VA:\nVA0 - Thu Jan  1 00:00:00 1970\n | 0 | 0\n"
              "VA1 - Tue Mar  5 07:04:09 2024\n | c0 | 1f\n"
              "AV:\nHI:\nDI:\nDI0 - \n | 0 | 0\nDO:\n");
}
