#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "database.h"
#include "lib/bd_vesk/bdvesk.h"
#include "slots.h"
#include "support/capture.h"

namespace {

using Fields = std::vector<AttributeFiles::Field>;

std::uint8_t byteOf(CVeskBDSh& db, SVariable var, bool current) {
    SVal val;
    EXPECT_EQ(current ? db.getVal(var, &val) : db.getDat(var, &val), 1);
    return val.value.uch;
}

TEST(LoadBD, AsksForElevenTypesAndAttachesTheirTables) {
    FullDatabase database;
    database.startAll();
    CVeskBDSh db(0);
    db.LoadBD();

    ASSERT_EQ(database.requestCount(), 11);
    for (std::uint32_t i = 0; i < 11; ++i)
        EXPECT_EQ(database.request(static_cast<int>(i)),
                  (std::array<std::uint32_t, 5>{0x1100, i, 0, 0, 0}));

    // Current data and current value of each type show the bytes of the array they live in.
    const int arrays[11][2] = {{1, 2}, {0, 0}, {2, 2}, {1, 2}, {1, 2}, {0, 0},
                               {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}};
    for (std::uint8_t type = 1; type <= 11; ++type) {
        SCOPED_TRACE(static_cast<int>(type));
        CTypeVars* const table = db.getTypeVars(type);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->typeAt(), type);
        EXPECT_EQ(table->maxnumAt(), FullDatabase::count(type));
        EXPECT_EQ(byteOf(db, {type, 1, 0}, false), FullDatabase::fill(type, arrays[type - 1][0]));
        EXPECT_EQ(byteOf(db, {type, 1, 0}, true), FullDatabase::fill(type, arrays[type - 1][1]));
        const auto last = static_cast<std::uint16_t>(FullDatabase::count(type));
        EXPECT_EQ(db.isVariable({type, last, 0}), 1);
        EXPECT_EQ(db.isVariable({type, static_cast<std::uint16_t>(last + 1), 0}), 0);
        EXPECT_EQ(db.isVariable({type, 0, 0}), 1) << "number 0 is not checked";
    }
    EXPECT_EQ(db.isVariable({0, 1, 0}), 0);
    EXPECT_EQ(db.isVariable({12, 1, 0}), 0);
    EXPECT_EQ(db.getTypeVars(12), db.getTypeVars(1)) << "the list comes round";
}

TEST(LoadBD, ATypeWithoutVariablesMovesTheLaterOnesDown) {
    FullDatabase database;
    AttributeFiles files;
    // Offset 48 is inside AV's and HI's neighbours, but behind HI's own record of 48 bytes.
    files.describe(AttributeFiles::kAV, {{44, 3}, {45, 3}, {0, 6}});
    files.describe(AttributeFiles::kDO, {{0, 3}, {1, 3}, {3, 0, 1}});
    AttributeFiles::write(database.system(), files.bytes());
    database.startAll(2);
    CVeskBDSh db(0);
    Capture out(STDOUT_FILENO);
    db.LoadBD();
    EXPECT_EQ(out.text(), "") << "the files are right";

    EXPECT_EQ(db.getTypeVars(2)->typeAt(), 3);
    EXPECT_EQ(db.getTypeVars(10)->typeAt(), 11);
    EXPECT_EQ(db.getTypeVars(11), nullptr);
    EXPECT_EQ(db.isVariable({11, 1, 0}), 0);
    SVal val;
    EXPECT_EQ(db.getVal({11, 1, 0}, &val), 0);
    EXPECT_EQ(db.setDat({11, 1, 0}, SVal(type_char)), 0);

    // Attributes of AV are looked up in HI's records, of DO in those of TH, which are single
    // floats.
    EXPECT_EQ(db.getTypeAtr({2, 1, 1}), type_float);
    EXPECT_EQ(db.getTypeAtr({2, 1, 2}), none) << "reaches beyond HI's record";
    EXPECT_EQ(db.getTypeAtr({5, 1, 1}), type_float);
    EXPECT_EQ(db.getTypeAtr({5, 1, 2}), none);
    EXPECT_EQ(db.getTypeAtr({5, 1, 3}), type_char);
    EXPECT_EQ(db.getVal({2, 1, 3}, &val), 1);
    EXPECT_EQ(val.value.uch, FullDatabase::fill(3, 0));
    // The value of type 5 is a char, the table in its place holds floats.
    EXPECT_EQ(db.getVal({5, 1, 0}, &val), 1);
    EXPECT_EQ(val.type_val, type_char);
    EXPECT_EQ(val.value.uch, FullDatabase::fill(6, 0));
}

TEST(LoadBD, SkipsWhatIsNoType) {
    FullDatabase database;
    database.start({{77, 5}, {1, 3}, {0, 9}, {2, 0}, {3, 5}});
    Capture out(STDOUT_FILENO);
    CVeskBDSh db(0);
    db.LoadBD();
    EXPECT_EQ(database.requestCount(), 11) << "the counter advances either way";
    EXPECT_EQ(database.request(1)[1], 77U) << "the type that was answered";
    EXPECT_EQ(db.getTypeVars(1)->typeAt(), 1);
    EXPECT_EQ(db.getTypeVars(2)->typeAt(), 3);
    EXPECT_EQ(db.getTypeVars(3), nullptr);
}

TEST(LoadBD, WorksWithoutAnySegment) {
    Database database;
    database.start({{1, 5}, {2, 5}, {3, 5}, {4, 5}, {5, 5}, {6, 5}, {10, 5}, {11, 5}});
    AttributeFiles files;
    files.describe(AttributeFiles::kVA, {{103, 3}});
    AttributeFiles::write(database.system(), files.bytes());
    CVeskBDSh db(0);
    Capture out(STDOUT_FILENO);
    Capture err(STDERR_FILENO);
    db.LoadBD();
    for (std::uint8_t type = 1; type <= 8; ++type) {
        SVal val(type_int);
        EXPECT_EQ(db.isVariable({type, 1, 0}), 1);
        EXPECT_EQ(db.getVal({type, 1, 0}, &val), 1);
        EXPECT_EQ(val.type_val, none);
        EXPECT_EQ(db.setDat({type, 1, 0}, SVal(type_int)), 1);
    }
    SVal val(type_int);
    EXPECT_EQ(db.getVal({1, 1, 1}, &val), 1);
    EXPECT_EQ(val.type_val, none);
    EXPECT_EQ(db.setDat({1, 1, 1}, SVal(type_int)), 1);
    EXPECT_EQ(db.setDatScale({1, 1, 0}, SVal(type_float), 0, 1), 1);
    EXPECT_EQ(db.getTime({1, 1, 0}).tv_sec, 0);
    EXPECT_EQ(db.setQuality({1, 1, 0}, 1), -1);
}

TEST(LoadBD, EndsTheProcessWithoutDatabase) {
    Database database;
    ChildProcess server([] {
        All = new vs_obj;
        CVeskBDSh(0).LoadBD();
        return 0;
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(server.wait(), 255);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(950));
    EXPECT_NE(server.out().find("No Base in lib"), std::string::npos);
}

TEST(LoadBD, LooksForTheDatabaseASecondTime) {
    FullDatabase database;
    ChildProcess server([] {
        All = new vs_obj;
        CVeskBDSh db(0);
        db.LoadBD();
        return db.isVariable({1, 1, 0}) ? 7 : 8;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // the first look finds nothing
    database.startAll();
    EXPECT_EQ(server.wait(), 7);
}

TEST(LoadBD, RefusesOtherChannels) {
    Database database;
    ChildProcess server([] {
        CVeskBDSh(1).LoadBD();
        return 0;
    });
    EXPECT_EQ(server.wait(), 128 + SIGTERM);
    EXPECT_EQ(server.out(), "Sorry. Featcher not supported.");
}

// ---- Attribute files ---------------------------------------------------------------------------

std::size_t openFiles() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

/// Loads the files of a folder without any table.
struct Loaded {
    explicit Loaded(const Database&) : db(std::make_unique<CVeskBDSh>(0)) {
        const std::size_t before = openFiles();
        {
            Capture capture(STDOUT_FILENO);
            result = db->LoadOffAtr();
            out = capture.text();
        }
        EXPECT_EQ(openFiles(), before) << "files are closed on every path";
    }
    std::unique_ptr<CVeskBDSh> db;
    int result = 0;
    std::string out;
};

TEST(LoadOffAtr, DescribesTheFiveTypes) {
    Database database;
    AttributeFiles files;
    files.describe(AttributeFiles::kVA, {{103, 3}, {108, 0, 2}, {4, 6}, {0, 9}});
    files.describe(AttributeFiles::kDI, {{50, 1}});
    files.describe(AttributeFiles::kHI, Fields(13, {28, 6}));
    files.describe(AttributeFiles::kDO, {{53, 2}});
    files.describe(AttributeFiles::kAV, {{49, 1}, {167, 3}});
    files.describe(3, {{0, 3}, {0, 3}, {0, 3}, {0, 3}, {0, 3}, {0, 3}});  // nobody's
    AttributeFiles::write(database.system(), files.bytes());
    const Loaded loaded(database);
    EXPECT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.out, "");

    const struct {
        std::uint8_t type;
        std::vector<TYPE_VAL> types;  // of attribute 0, 1, ... and one beyond
    } cases[] = {
        {1, {type_float, type_float, type_char, type_str9, none, none}},
        {2, {type_float, type_char, type_float, none}},
        {3,
         {type_float, type_str9, type_str9, type_str9, type_str9, type_str9, type_str9, type_str9,
          type_str9, type_str9, type_str9, type_str9, type_str17, type_str9, none}},
        {4, {type_char, type_char, none}},
        {5, {type_char, type_short, none}},
        {6, {type_float, none}},
        {7, {type_float, none}},
        {8, {type_float, none}},
        {9, {type_float, none}},
        {10, {type_short, none}},
        {11, {type_char, none}},
    };
    for (const auto& c : cases) {
        for (std::size_t n = 0; n < c.types.size(); ++n) {
            SCOPED_TRACE(std::to_string(c.type) + "." + std::to_string(n));
            const SVariable var{c.type, 1, static_cast<std::uint16_t>(n)};
            EXPECT_EQ(loaded.db->getTypeAtr(var), c.types[n]);
            EXPECT_EQ(loaded.db->isAttribute(var), n + 1 < c.types.size());
        }
    }
    for (const auto noType : std::initializer_list<std::uint8_t>{0, 12, 255}) {
        EXPECT_EQ(loaded.db->isAttribute({noType, 1, 0}), 0);
        EXPECT_EQ(loaded.db->getTypeAtr({noType, 1, 0}), none);
    }
}

TEST(LoadOffAtr, NamesTheFileThatCannotBeOpened) {
    Database database;
    // CP866 of the Russian for "The attribute description file cannot be opened - "
    const std::string message =
        "\x8D\xA5\xA2\xAE\xA7\xAC\xAE\xA6\xAD\xAE\x20\xAE\xE2\xAA\xE0\xEB\xE2\xEC\x20\xE4\xA0\xA9"
        "\xAB\x20\xAE\xAF\xA8\xE1\xA0\xAD\xA8\xEF\x20\xA0\xE2\xE0\xA8\xA1\xE3\xE2\xAE\xA2 - ";
    const Loaded nothing(database);
    EXPECT_EQ(nothing.result, -1);
    EXPECT_EQ(nothing.out, message + database.file("offatrs.dat").string() + "\n\r");

    AttributeFiles::write(database.file("offatrs.dat"), AttributeFiles().bytes().offsets);
    const Loaded second(database);
    EXPECT_EQ(second.result, -1);
    EXPECT_EQ(second.out, message + database.file("atributs.dat").string() + "\n\r");
    EXPECT_EQ(second.db->getTypeAtr({1, 1, 0}), type_float) << "values need no description";
    EXPECT_EQ(second.db->getTypeAtr({1, 1, 1}), none);
}

TEST(LoadOffAtr, TellsFaultsWithFileEntryAndAttribute) {
    // In the file of offsets, of the second attribute: behind eight positions, the entry's head and
    // the first attribute with its name.
    constexpr std::size_t kOffsetOfSecond = 2 + 8 * 4 + 4 + 14 + 4;
    const struct {
        const char* why;
        void (*spoil)(AttributeFiles::Bytes&);
        const char* file;  // null: silent
        const char* text;
        int result;
        TYPE_VAL first;  // of VA 1, whose entry is the first
    } cases[] = {
        {"entry counts differ", [](auto& b) { b.types[0] = 9; }, nullptr, "", -1, none},
        {"an empty file", [](auto& b) { b.offsets.clear(); }, "offatrs.dat",
         ": the file ends here\n", -1, none},
        {"cut in the second entry", [](auto& b) { b.types.resize(b.types.size() - 14); },
         "atributs.dat", ", entry 1, attribute 1: the file ends here\n", -1, type_float},
        {"other counts in the first", [](auto& b) { b.types[2] = 5; }, "atributs.dat",
         ", entry 0: 5 attributes, 2 in the file of offsets\n", -1, none},
        {"an attribute outside", [](auto& b) { b.offsets[kOffsetOfSecond] = 111; }, "offatrs.dat",
         ", entry 0, attribute 2: 4 bytes at 111 are not inside a record of 114\n", 0, type_float},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Database database;
        AttributeFiles files;
        files.describe(AttributeFiles::kVA, {{103, 3}, {38, 3}});
        files.describe(AttributeFiles::kDI, {{50, 1}});
        auto bytes = files.bytes();
        ASSERT_EQ(bytes.offsets[kOffsetOfSecond - 14], 103);
        ASSERT_EQ(bytes.offsets[kOffsetOfSecond], 38);
        c.spoil(bytes);
        AttributeFiles::write(database.system(), bytes);
        const Loaded loaded(database);
        EXPECT_EQ(loaded.result, c.result);
        EXPECT_EQ(loaded.out, c.file == nullptr ? "" : database.file(c.file).string() + c.text);
        EXPECT_EQ(loaded.db->getTypeAtr({1, 1, 1}), c.first);
        EXPECT_EQ(loaded.db->getTypeAtr({1, 1, 2}), c.result == 0 ? none : c.first);
        EXPECT_EQ(loaded.db->isAttribute({1, 1, 2}), c.first == type_float);
    }
}

TEST(LoadOffAtr, SurvivesAFolderInPlaceOfAFile) {
    Database database;
    AttributeFiles::write(database.file("atributs.dat"), AttributeFiles().bytes().types);
    std::filesystem::create_directory(database.file("offatrs.dat"));
    const Loaded loaded(database);
    EXPECT_EQ(loaded.result, -1);
    EXPECT_EQ(loaded.out, database.file("offatrs.dat").string() + ": the file ends here\n");
}

// ---- Requests ----------------------------------------------------------------------------------

TEST(ObrBD, AsksTheDatabaseToProcess) {
    FullDatabase database;
    database.startAll();
    CVeskBDSh db(0);
    db.LoadBD();
    db.ObrBD();
    ASSERT_EQ(database.requestCount(), 12);
    EXPECT_EQ(database.request(11), (std::array<std::uint32_t, 5>{0x1300, 0, 0, 0, 0}));

    ASSERT_NE(All->name_add("Simulator", getpid()), -1);
    db.ObrBD();
    EXPECT_EQ(database.requestCount(), 12) << "the simulator does it by itself";
}

TEST(ObrBD, EndsTheProcessWhenTheDatabaseIsGone) {
    FullDatabase database;
    database.startAll();
    ChildProcess server([] {
        All = new vs_obj;
        CVeskBDSh db(0);
        db.LoadBD();
        EXPECT_TRUE(waitUntil([] { return All->name_find("VsBASE") == -1; }));
        db.ObrBD();
        return 0;
    });
    ASSERT_TRUE(waitUntil([&] { return database.requestCount() == 11; }));
    database.stop();
    EXPECT_EQ(server.wait(), 255);
}

TEST(CVeskBDSh, KeepsTheOrderOfTheVirtualTable) {
    EXPECT_EQ(slotsOf<CVeskBDSh>(&CVeskBDSh::LoadBD, &CVeskBDSh::LoadAperture, &CVeskBDSh::SaveBD,
                                 &CVeskBDSh::ObrBD, &CVeskBDSh::getTypeVars, &CVeskBDSh::isVariable,
                                 &CVeskBDSh::isAttribute, &CVeskBDSh::getTypeAtr,
                                 &CVeskBDSh::setDat, &CVeskBDSh::setDatScale, &CVeskBDSh::getVal,
                                 &CVeskBDSh::getDat, &CVeskBDSh::getChangeVal),
              slotsFromTwo(13));
}

}  // namespace
