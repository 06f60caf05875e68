// The stand-in's archive, written by its writer and read through the interface that servers use.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <utility>
#include <vector>

#include "jxotr/IHDA_BrowseConfig.h"
#include "standin/archive_writer.h"
#include "standin/places.h"
#include "standin/schema.h"
#include "support/child_process.h"
#include "support/pen_values.h"

namespace {

using trends::ArchiveWriter;
using trends::Definitions;
using trends::penKey;

constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kBegin = 1'700'000'000 * kSecond;
constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

constexpr const char* kDefinitions =
    "[Plotter_1]\nName = A\nPen_1 = VA, 6, float\nPen_2 = VD, 1, boolean, name ; remark\n"
    "[Plotter_2]\nPen_1 = AV, 12, integer\nPen_2 = RV, 3, double\nPen_3 = DV, 7, boolean\n";

/// An installation of the stand-in with definitions and no archive yet.
class TrendArchive : public testing::Test {
  protected:
    TrendArchive() {
        std::string pattern = (std::filesystem::temp_directory_path() / "trends.XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
        std::filesystem::create_directories(root_ / "trends");
        setenv("VESKPATH", root_.c_str(), 1);
        setenv("SETTINGS", root_.c_str(), 1);
        define(kDefinitions);
    }
    ~TrendArchive() override {
        unsetenv("VESKPATH");
        unsetenv("SETTINGS");
        std::filesystem::remove_all(root_);
    }

    void define(const std::string& text) {
        std::ofstream(trends::definitionsFile()) << text;
        std::string problem;
        definitions_ = trends::parseDefinitions(text, problem);
        ASSERT_EQ(problem, "");
    }

    [[nodiscard]] std::unique_ptr<ArchiveWriter> writer() const {
        return std::make_unique<ArchiveWriter>(trends::archiveFile(), definitions_);
    }

    std::filesystem::path root_;
    Definitions definitions_;
};

constexpr OPCHDAITEMDEF kFloatPen{1, 1};

TEST_F(TrendArchive, ShowsWhatTheDefinitionsSay) {
    IHDA_BrowseConfig browse;
    jxo::CTrendsControlSettingsExt* system = nullptr;
    ASSERT_EQ(browse.GetConfigAll(false, &system), 0);
    EXPECT_EQ(system->plotterCount, 2U);
    HRESULT* errors = nullptr;
    jxo::CPlotterSettingsExt* plotter = nullptr;
    OPCHDAITEMDEF item{2, 0};
    ASSERT_EQ(browse.GetConfigPlotters(1, &item, false, &plotter, &errors), 0);
    EXPECT_EQ(plotter->penCount, 3U);
    const struct {
        OPCHDAITEMDEF item;
        int type, kind, number;  // type 0: no such pen
    } pens[] = {{{1, 1}, 4, 0, 6},  {{1, 2}, 11, 3, 1}, {{2, 1}, 3, 1, 12}, {{2, 2}, 5, 2, 3},
                {{2, 3}, 11, 4, 7}, {{1, 3}, 0, 0, 0},  {{3, 1}, 0, 0, 0},  {{1, 0}, 0, 0, 0}};
    for (auto row : pens) {
        SCOPED_TRACE(std::to_string(row.item.plotterNum) + "." + std::to_string(row.item.penNum));
        jxo::CPenSettingsExt* pen = nullptr;
        const HRESULT result = browse.GetConfigPens(1, &row.item, &pen, &errors);
        ASSERT_EQ(result == 0, row.type != 0);
        if (result != 0) continue;
        EXPECT_EQ(pen->valueType, row.type);
        EXPECT_EQ(pen->variableKind, row.kind);
        EXPECT_EQ(pen->variableNum, row.number);
    }
    for (const char* text :
         {"[Plotter_2]\nPen_1 = VA, 1, float\n", "[Other]\n", "[Plotter_1]\nPen_2 = VA, 1, float\n",
          "[Plotter_1]\nPen_1 = VX, 1, float\n", "[Plotter_1]\nPen_1 = VA, 0, float\n",
          "[Plotter_1]\nPen_1 = VA, 65536, float\n", "[Plotter_1]\nPen_1 = VA, 1\n"}) {
        SCOPED_TRACE(text);
        std::ofstream(trends::definitionsFile()) << text;
        EXPECT_LT(browse.GetConfigAll(false, &system), 0);
    }
    std::filesystem::remove(trends::definitionsFile());
    EXPECT_LT(IHDA_BrowseConfig().GetConfigAll(false, &system), 0);
}

/// Far more than a chunk holds, so that every read crosses packed and recent values.
TEST_F(TrendArchive, AnswersRangesOldestFirstUpToTheLimit) {
    constexpr std::int64_t kCount = 10'000;
    {
        const auto archive = writer();
        for (std::int64_t i = 0; i < kCount; ++i) {
            // Three values share each second, two of them the microsecond.
            const std::int64_t time = kBegin + i / 3 * kSecond + (i % 3 == 2 ? 1 : 0);
            archive->add(penKey(1, 1), {time, static_cast<double>(i), i % 2 == 0 ? 0xC0U : 0x40U});
            if (i == 5000) archive->commit();
        }
        archive->add(penKey(1, 1), {kBegin, -1, 0xC0});  // older than its predecessor: left out
        archive->commit();
    }
    const struct {
        const char* why;
        std::int64_t from, to;
        unsigned int limit;
        std::int64_t first, count;
    } rows[] = {
        {"everything", 0, kEver, 1'000'000, 0, kCount},
        {"the limit cuts the newest", 0, kEver, 4097, 0, 4097},
        {"both ends belong to the range", kBegin + kSecond, kBegin + 2 * kSecond, 100, 3, 5},
        {"from the middle on", kBegin + 1365 * kSecond, kEver, 10, 4095, 10},
        {"before the archive", 0, kBegin - 1, 100, 0, 0},
        {"backwards", kEver, 0, 100, 0, 0},
        {"no values wanted", 0, kEver, 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const PenValues answer = readPen(kFloatPen, row.from, row.to, row.limit);
        ASSERT_EQ(answer.result, 0);
        ASSERT_EQ(answer.values.size(), static_cast<std::size_t>(row.count));
        for (std::size_t i = 0; i < answer.values.size(); ++i) {
            const std::int64_t num = row.first + static_cast<std::int64_t>(i);
            ASSERT_EQ(answer.values[i].value.number, static_cast<float>(num));
            ASSERT_EQ(answer.time(i), kBegin + num / 3 * kSecond + (num % 3 == 2 ? 1 : 0));
            ASSERT_EQ(answer.values[i].quality, num % 2 == 0 ? 0xC0U : 0x40U);
        }
    }
    EXPECT_LT(readPen({1, 3}).result, 0);
    EXPECT_TRUE(readPen({2, 1}).values.empty());
}

/// The value as its type stores it, and what it stores of a number.
std::pair<double, double> storedAndExpected(const OPCHDAITEMVALUE& value, double input) {
    if (value.vt == 11) return {value.value.boolean != 0, input != 0};
    if (value.vt == 5) return {value.value.wide, input};
    return {value.value.number, static_cast<float>(input)};
}

TEST_F(TrendArchive, KeepsEveryTypeAsItIs) {
    const double inputs[] = {-3.9, 0, std::numeric_limits<double>::infinity(), std::nan(""), 1e300};
    constexpr OPCHDAITEMDEF kPens[] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}};
    for (const int values : {5, 25'000}) {  // recent ones, packed ones
        SCOPED_TRACE(values);
        std::filesystem::remove(trends::archiveFile());
        const auto archive = writer();
        for (int i = 0; i < values; ++i) {
            for (const auto& pen : kPens)
                archive->add(penKey(pen.plotterNum, pen.penNum),
                             {kBegin + i * kSecond, inputs[i % 5], 0x12345678});
        }
        archive->commit();
        for (const auto& pen : kPens) {
            const PenValues answer = readPen(pen, kBegin, kEver, 5);
            ASSERT_EQ(answer.values.size(), 5U);
            for (std::size_t i = 0; i < 5; ++i) {
                const auto [number, expected] = storedAndExpected(answer.values[i], inputs[i]);
                EXPECT_TRUE(number == expected || (std::isnan(number) && std::isnan(expected)));
                EXPECT_EQ(answer.values[i].quality, 0x12345678U);
            }
        }
        EXPECT_EQ(readPen({2, 1}).values[0].vt, 3);
    }
}

TEST_F(TrendArchive, GoesOnWhereAnEarlierWriterStoppedAndForgetsTheOld) {
    for (std::int64_t run = 0; run < 10; ++run) {
        const auto archive = writer();
        for (std::int64_t i = run * 1000; i < run * 1000 + 1000; ++i) {
            archive->add(penKey(1, 1), {kBegin + i * kSecond, static_cast<double>(i), 0xC0});
        }
        archive->commit();
        archive->add(penKey(1, 1), {kBegin + 999'999 * kSecond, 0, 0});  // never committed
    }
    const PenValues all = readPen(kFloatPen);
    ASSERT_EQ(all.values.size(), 10'000U);
    for (std::size_t i = 0; i < all.values.size(); ++i) {
        ASSERT_EQ(all.values[i].value.number, static_cast<float>(i));
    }
    const auto archive = writer();
    EXPECT_EQ(archive->span()->first, kBegin);
    EXPECT_EQ(archive->span()->last, kBegin + 9999 * kSecond);
    archive->removeBefore(kBegin + 5000 * kSecond);
    archive->commit();
    const PenValues rest = readPen(kFloatPen);
    ASSERT_FALSE(rest.values.empty());
    EXPECT_LE(rest.time(0), kBegin + 5000 * kSecond);
    EXPECT_GT(rest.time(0), kBegin);
    EXPECT_EQ(rest.time(rest.values.size() - 1), kBegin + 9999 * kSecond);
    archive->removeBefore(kBegin + 10'000 * kSecond);
    archive->commit();
    EXPECT_TRUE(readPen(kFloatPen).values.empty());
    EXPECT_FALSE(archive->span().has_value());

    archive->add(penKey(1, 1), {kBegin + 20'000 * kSecond, 1, 0xC0});
    archive->commit();
    define("[Plotter_1]\nPen_1 = VA, 7, float\n");
    static_cast<void>(writer());
    EXPECT_EQ(readPen(kFloatPen).result, 0);
    EXPECT_TRUE(readPen(kFloatPen).values.empty()) << "values of another variable";
    EXPECT_LT(readPen({2, 1}).result, 0);
}

TEST_F(TrendArchive, AnswersADamagedArchiveWithAnError) {
    EXPECT_LT(readPen(kFloatPen).result, 0) << "missing";
    {
        const auto archive = writer();
        for (std::int64_t i = 0; i < 9000; ++i) {
            archive->add(penKey(1, 1), {kBegin + i * kSecond, std::sin(double(i)), 0xC0});
        }
        archive->finish();
    }
    std::ifstream file(trends::archiveFile(), std::ios::binary);
    const std::string intact{std::istreambuf_iterator<char>(file), {}};
    const auto replace = [](const std::string& bytes) {
        std::filesystem::remove(trends::archiveFile());  // another inode, as after a repair
        std::ofstream(trends::archiveFile(), std::ios::binary) << bytes;
    };
    for (const std::string& bytes :
         {std::string(), std::string("no archive at all"), std::string(8192, '\xFF'),
          intact.substr(0, intact.size() / 2), intact.substr(0, 100)}) {
        SCOPED_TRACE(bytes.size());
        replace(bytes);
        EXPECT_LT(readPen(kFloatPen).result, 0);
    }
    // A byte anywhere: an error or values, but no crash. Each page is hit at its head and inside.
    int refused = 0;
    for (std::size_t at = 0; at < intact.size(); at += 1021) {
        std::string bytes = intact;
        bytes[at] = static_cast<char>(~bytes[at]);
        replace(bytes);
        refused += readPen(kFloatPen).result < 0 ? 1 : 0;
    }
    EXPECT_GT(refused, 5);
    replace(intact);
    EXPECT_EQ(readPen(kFloatPen).values.size(), 9000U);
}

TEST_F(TrendArchive, IsReadWhileAWriterGoesOn) {
    constexpr std::int64_t kCount = 30'000;
    static_cast<void>(writer());
    ChildProcess writing([this] {
        const auto archive = writer();
        for (std::int64_t i = 0; i < kCount; ++i) {
            archive->add(penKey(1, 1), {kBegin + i * kSecond, static_cast<double>(i), 0xC0});
            if (i % 50 == 0) archive->commit();
        }
        archive->commit();
        return 0;
    });
    std::size_t before = 0;
    bool sawGrowth = false;
    do {
        const PenValues answer = readPen(kFloatPen);
        ASSERT_EQ(answer.result, 0);
        sawGrowth = sawGrowth || (answer.values.size() > before && before > 0);
        ASSERT_GE(answer.values.size(), before);
        before = answer.values.size();
        for (std::size_t i = 0; i < before; ++i) {
            ASSERT_EQ(answer.values[i].value.number, static_cast<float>(i));
        }
    } while (writing.alive());
    EXPECT_EQ(writing.wait(), 0);
    EXPECT_TRUE(sawGrowth);
    EXPECT_EQ(readPen(kFloatPen).values.size(), static_cast<std::size_t>(kCount));
}

}  // namespace
