// The stand-in's archive, written by its writer and read through the interface that servers use.

#include "jxotr/IHDA_BrowseConfig.h"
#include "platform/trends/standin/archive_writer.h"
#include "platform/trends/standin/chunk_table.h"
#include "platform/trends/standin/places.h"
#include "tests/support/files.h"
#include "tests/support/pen_values.h"

using trends::ArchiveWriter;
using trends::Definitions;
using trends::penKey;

constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kBegin = 1'700'000'000 * kSecond;
constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

constexpr const char* kDefinitions =
    "[Plotter_1]\nName = A\nPen_1 = VA, 6, float\nPen_2 = VD, 1, boolean, name ; remark\n"
    "[Plotter_2]\nPen_1 = AV, 12, integer\nPen_2 = RV, 3, double\nPen_3 = DV, 7, boolean\n";

/// The sandbox's installation folder with definitions and no archive yet.
class TrendArchive : public testing::Test {
  protected:
    TrendArchive() {
        for (const char* folder : {"/zrt/trends", "/zrt/settings"}) {
            std::filesystem::remove_all(folder);
            std::filesystem::create_directory(folder);
        }
        define(kDefinitions);
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
    // type, kind and number; no such pen: 0
    const std::tuple<OPCHDAITEMDEF, int, int, int> pens[] = {
        {{1, 1}, 4, 0, 6},  {{1, 2}, 11, 3, 1}, {{2, 1}, 3, 1, 12}, {{2, 2}, 5, 2, 3},
        {{2, 3}, 11, 4, 7}, {{1, 3}, 0, 0, 0},  {{3, 1}, 0, 0, 0},  {{1, 0}, 0, 0, 0}};
    for (auto [pen, type, kind, number] : pens) {
        SCOPED_TRACE(testing::Message() << pen.plotterNum << '.' << pen.penNum);
        jxo::CPenSettingsExt* got = nullptr;
        ASSERT_EQ(browse.GetConfigPens(1, &pen, &got, &errors) == 0, type != 0);
        if (type == 0) continue;
        EXPECT_EQ(std::tuple(+got->valueType, +got->variableKind, +got->variableNum),
                  std::tuple(type, kind, number));
    }
    for (const char* text :
         {"[Plotter_2]\nPen_1 = VA, 1, float\n", "[Other]\n", "[Plotter_1]\nPen_2 = VA, 1, float\n",
          "[Plotter_1]\nPen_1 = VX, 1, float\n", "[Plotter_1]\nPen_1 = VA, 0, float\n",
          "[Plotter_1]\nPen_1 = VA, 65536, float\n", "[Plotter_1]\nPen_1 = VA, 1\n"}) {
        std::ofstream(trends::definitionsFile()) << text;
        EXPECT_LT(browse.GetConfigAll(false, &system), 0) << text;
    }
    std::filesystem::remove(trends::definitionsFile());
    EXPECT_LT(IHDA_BrowseConfig().GetConfigAll(false, &system), 0);
}

/// A value that its time determines, so that values of one time need no order.
static trends::Sample sampleAt(std::int64_t time) {
    const std::int64_t number = time / 1000 % 100'003;
    return {time, static_cast<double>(number), number % 2 == 0 ? 0xC0U : 0x40U};
}

static void expectAnswer(const PenValues& answer, const std::vector<std::int64_t>& times) {
    ASSERT_EQ(answer.result, 0);
    ASSERT_EQ(answer.values.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        ASSERT_EQ(answer.time(i), times[i]);
        ASSERT_EQ(answer.values[i].value.number, static_cast<float>(sampleAt(times[i]).value));
        ASSERT_EQ(answer.values[i].quality, sampleAt(times[i]).quality);
    }
}

/// Against a sorted list: batches and chunks, full and cut short, writers that end at any time, and
/// a clock that is set in both directions.
TEST_F(TrendArchive, AnswersEveryRangeInOrderUpToTheLimit) {
    std::mt19937 random(5);
    const auto below = [&random](std::int64_t bound) {
        return static_cast<std::int64_t>(random()) % bound;
    };
    std::vector<std::int64_t> recorded;
    auto archive = writer();
    std::int64_t time = kBegin;
    for (int i = 0; i < 60'000; ++i) {
        const std::int64_t event = below(6000);
        time += event == 0   ? -below(20'000) * kSecond
                : event == 1 ? below(20'000) * kSecond
                             : event % 4 * 300'000;
        recorded.push_back(time);
        archive->add(penKey(1, 1), sampleAt(time));
        if (event % 3 == 0) archive->add(penKey(2, 3), sampleAt(time));
        if (event % 20 == 0) archive->commit();
        if (event != 2) continue;
        archive->commit();
        archive->add(penKey(1, 1), {time, -1, 0});  // never committed
        archive.reset();
        archive = writer();
    }
    archive->commit();
    std::sort(recorded.begin(), recorded.end());
    EXPECT_EQ(archive->spanAtOpening(kEver)->first, recorded.front());
    expectAnswer(readPen(kFloatPen), recorded);
    for (int i = 0; i < 300; ++i) {
        const std::int64_t from = recorded[random() % recorded.size()] + below(3) - 1;
        const std::int64_t to = i % 2 == 0 ? from + below(30'000) * kSecond : kEver;
        const auto limit = static_cast<unsigned>(i % 3 == 0 ? 100'000 : below(5000));
        const auto first = std::lower_bound(recorded.begin(), recorded.end(), from);
        const auto last = std::upper_bound(first, recorded.end(), to);
        const auto cut = first + std::min<std::int64_t>(last - first, limit);
        expectAnswer(readPen(kFloatPen, from, to, limit), {first, cut});
    }
    expectAnswer(readPen(kFloatPen, 0, recorded[0] - 1), {});
    expectAnswer(readPen(kFloatPen, kEver, 0), {});
    EXPECT_LT(readPen({1, 3}).result, 0);
    EXPECT_TRUE(readPen({2, 1}).values.empty());
    for (const auto& [pen, at] : {std::pair{penKey(1, 1), 2 * kBegin}, {penKey(2, 1), kBegin}}) {
        archive->add(pen, sampleAt(at));  // another pen is the first after a step back
        archive->commit();
    }
    expectAnswer(readPen({2, 1}, kBegin, kBegin), {kBegin});
    timeval any{};
    OPCHDAITEMDEF pen = kFloatPen;
    OPCHDAITEM* item = nullptr;
    EXPECT_LT(IHDA_SyncRead().ReadRaw(&any, &any, 1, true, 1, &pen, &item, nullptr), 0) << "bounds";
}

/// A pen may change its type, but not its variable. How each type packs its values is fuzzed.
TEST_F(TrendArchive, KeepsEveryTypeAsItIs) {
    const std::pair<const char*, int> types[] = {
        {"float", 4}, {"double", 5}, {"boolean", 11}, {"integer", 3}, {"double", 5}};
    std::int64_t time = kBegin;
    for (const auto& [name, code] : types) {
        define(std::string("[Plotter_1]\nPen_1 = VA, 6, ") + name + "\n");
        const auto archive = writer();
        archive->add(penKey(1, 1), {time += kSecond, -3.9, 0x12345678});
        archive->commit();
    }
    const PenValues answer = readPen(kFloatPen);
    ASSERT_EQ(answer.values.size(), 5U);
    for (std::size_t i = 0; i < 5; ++i) {
        const OPCHDAITEMVALUE& value = answer.values[i];
        EXPECT_EQ(value.vt, types[i].second);
        EXPECT_EQ(value.quality, 0x12345678U);
        if (value.vt == 11)
            EXPECT_TRUE(value.value.boolean);
        else
            EXPECT_EQ(value.vt == 5 ? value.value.wide : value.value.number,
                      value.vt == 5 ? -3.9 : -3.9F);
    }
    define("[Plotter_1]\nPen_1 = VA, 7, float\n");
    static_cast<void>(writer());
    expectAnswer(readPen(kFloatPen), {});
    EXPECT_LT(readPen({2, 1}).result, 0);
}

/// The clock must not matter: otherwise a step beyond the length would delete everything.
TEST_F(TrendArchive, KeepsWhatWasRecordedLast) {
    constexpr std::int64_t kHour = 3600 * kSecond;
    const std::int64_t begins[] = {kBegin, kBegin + 99'999 * kHour, kBegin + 10 * kHour};
    const auto archive = writer();
    for (const std::int64_t begin : begins) {
        for (std::int64_t time = begin; time < begin + 4 * kHour; time += kSecond)
            archive->add(penKey(1, 1), sampleAt(time));
    }
    archive->commit();
    const struct {
        std::int64_t hours;
        std::size_t hoursAtLeast;
    } rows[] = {{1000, 12}, {11, 11}, {6, 6}, {1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.hours);
        archive->keepRecorded(row.hours * kHour);
        archive->commit();
        const PenValues rest = readPen(kFloatPen);
        EXPECT_GE(rest.values.size(), row.hoursAtLeast * 3600);
        EXPECT_LE(rest.values.size(), row.hoursAtLeast * 3600 + 2 * 4096);
        EXPECT_EQ(rest.time(0) < kBegin + 10 * kHour, row.hours > 8) << "recorded first goes first";
        EXPECT_EQ(readPen(kFloatPen, begins[2] + 3 * kHour, begins[2] + 4 * kHour).values.size(),
                  3600U);
    }
}

/// An archive as version 1 left it: a row for each value that was in no chunk, and a chunk that
/// goes on after a pause of a month.
TEST_F(TrendArchive, ConvertsTheFormerVersion) {
    std::vector<std::int64_t> times;
    trends::ChunkEncoder chunk(4);
    for (int i = 0; i < 4000; ++i) {
        times.push_back(kBegin + (i < 2000 ? i : i + 2'592'000) * kSecond);
        chunk.add(sampleAt(times.back()));
    }
    {
        trends::SqliteDatabase old(trends::archiveFile(), trends::SqliteDatabase::Access::write, 0);
        old.execute(
            "CREATE TABLE pen(pen INTEGER PRIMARY KEY, kind INTEGER, variable INTEGER);"
            "CREATE TABLE chunk(pen INTEGER, last INTEGER, first INTEGER, type INTEGER,"
            " count INTEGER, data BLOB); CREATE INDEX chunk_by_time ON chunk(pen, last);"
            "CREATE TABLE recent(pen INTEGER, time INTEGER, sequence INTEGER, type INTEGER,"
            " quality INTEGER, value REAL, PRIMARY KEY(pen, time, sequence)) WITHOUT ROWID;"
            "INSERT INTO pen VALUES(65537, 0, 6); PRAGMA application_id = 1515475505;"
            "PRAGMA user_version = 1");
        trends::ChunkTable(old).store(penKey(1, 1), chunk);
        trends::SqliteStatement recent(old, "INSERT INTO recent VALUES(65537, ?, ?, 4, ?, ?)");
        for (int i = 0; i < 3; ++i) {
            times.push_back(times.back() + (i == 1 ? 0 : kSecond));
            const auto sample = sampleAt(times.back());
            recent.bind(0, sample.time).bind(1, std::int64_t{i});
            recent.bind(2, std::int64_t{sample.quality}).bind(3, sample.value).step();
        }
    }
    EXPECT_LT(readPen(kFloatPen).result, 0) << "not before it is converted";
    static_cast<void>(writer());
    expectAnswer(readPen(kFloatPen), times);
    for (const std::int64_t at : {times[1999], times[3000]})  // the end of a chunk, the middle
        expectAnswer(readPen(kFloatPen, at, at), {at});

    trends::SqliteDatabase(trends::archiveFile(), trends::SqliteDatabase::Access::write, 0)
        .execute("PRAGMA user_version = 3");
    EXPECT_THROW(static_cast<void>(writer()), trends::ArchiveError);
}

TEST_F(TrendArchive, AnswersADamagedArchiveWithAnError) {
    EXPECT_LT(readPen(kFloatPen).result, 0) << "missing";
    {
        const auto archive = writer();
        for (std::int64_t i = 0; i < 9000; ++i) {
            archive->add(penKey(1, 1), {kBegin + i * kSecond, std::sin(double(i)), 0xC0});
            if (i > 8900) archive->commit();
        }
        archive->finish();
    }
    const std::string intact = readFile(trends::archiveFile());
    const auto resultWith = [](const std::string& bytes) {
        std::filesystem::remove(trends::archiveFile());  // another inode, as after a repair
        writeFile(trends::archiveFile(), bytes);
        return readPen(kFloatPen).result;
    };
    for (const std::string& bytes :
         {std::string(), std::string("no archive at all"), std::string(8192, '\xFF'),
          intact.substr(0, intact.size() / 2), intact.substr(0, 100)})
        EXPECT_LT(resultWith(bytes), 0) << bytes.size();
    // A byte anywhere: an error or values, but no crash. Each page is hit at its head and inside.
    int refused = 0;
    for (std::size_t at = 0; at < intact.size(); at += 1021) {
        std::string bytes = intact;
        bytes[at] = static_cast<char>(~bytes[at]);
        refused += resultWith(bytes) < 0 ? 1 : 0;
    }
    EXPECT_GT(refused, 5);
    std::filesystem::remove(trends::archiveFile());
    writeFile(trends::archiveFile(), intact);
    {
        trends::SqliteDatabase other(trends::archiveFile(), trends::SqliteDatabase::Access::write,
                                     0);
        other.execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
        EXPECT_LT(readPen(kFloatPen).result, 0) << "locked";
    }
    EXPECT_EQ(readPen(kFloatPen).values.size(), 9000U);
}
