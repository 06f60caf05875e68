#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "lib/bd_vesk/bdvesk.h"
#include "lib/util/veskpath.h"
#include "lib/util/vs_obj.h"
#include "support/attribute_files.h"
#include "support/capture.h"
#include "support/child_process.h"
#include "support/controller_database.h"
#include "support/files.h"
#include "support/wait_until.h"

namespace {

using Files = AttributeFiles;
using enum Files::Storage;
using Area = ControllerDatabase::Area;
using Request = ControllerDatabase::Request;

class LoadBD : public testing::Test {
  protected:
    LoadBD() { database.clear(); }
    ~LoadBD() override { database.answerAll(); }

    static int value(CVeskBDSh& db, SVariable var, bool current) {
        SVal val;
        EXPECT_EQ(current ? db.getVal(var, &val) : db.getDat(var, &val), 1);
        return val.value.uch;
    }
};

TEST_F(LoadBD, AsksForElevenTypesAndAttachesTheirTables) {
    const std::size_t before = database.requestsFrom(getpid()).size();
    CVeskBDSh db(0);
    db.LoadBD();
    const std::vector<Request> requests = database.requestsFrom(getpid());
    ASSERT_EQ(requests.size(), before + 11);
    for (std::uint32_t i = 0; i < 11; ++i)
        EXPECT_EQ(requests[before + i], (Request{0x1100, i, 0, 0, 0}));

    // Where the first byte of variable 1 lies that is its current data and its current value.
    struct Place {
        Area area;
        std::size_t offset;
    };
    using enum ControllerDatabase::Area;
    const Place values[11][2] = {{{currentData, 0}, {currentValue, 0}},
                                 {{passport, 167}, {passport, 167}},
                                 {{currentValue, 0}, {currentValue, 0}},
                                 {{currentData, 0}, {currentValue, 0}},
                                 {{currentData, 0}, {currentValue, 0}}};
    for (std::uint8_t type = 1; type <= 11; ++type) {
        SCOPED_TRACE(static_cast<int>(type));
        CTypeVars* const table = db.getTypeVars(type);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->typeAt(), type);
        const std::uint16_t last = ControllerDatabase::kCounts[type - 1U];
        EXPECT_EQ(table->maxnumAt(), last);
        for (const bool current : {false, true}) {
            const Place& place = values[type - 1][current];
            const auto byte = static_cast<std::uint8_t>(16 * type + current);
            database.put(place.area, type, 1, place.offset, byte);
            EXPECT_EQ(value(db, {type, 1, 0}, current), byte);
        }
        EXPECT_EQ(db.isVariable({type, last, 0}), 1);
        EXPECT_EQ(db.isVariable({type, static_cast<std::uint16_t>(last + 1), 0}), 0);
        EXPECT_EQ(db.isVariable({type, 0, 0}), 1) << "number 0 is not checked";
    }
    EXPECT_EQ(db.isVariable({0, 1, 0}), 0);
    EXPECT_EQ(db.isVariable({12, 1, 0}), 0);
    EXPECT_EQ(db.getTypeVars(12), db.getTypeVars(1)) << "the list comes round";
}

TEST_F(LoadBD, TypesWithoutVariablesAndWhatIsNoTypeMoveTheLaterOnesDown) {
    database.answer({{77, 5}, {1, 3}, {2, 0}, {3, 4}, {6, 3}});
    CVeskBDSh db(0);
    Capture out(STDOUT_FILENO);
    db.LoadBD();
    EXPECT_EQ(out.text(), "") << "the description files are right";
    EXPECT_EQ(database.requestsFrom(getpid()).back()[1], 12U) << "goes on to the eleventh answer";
    EXPECT_EQ(db.getTypeVars(1)->typeAt(), 1);
    EXPECT_EQ(db.getTypeVars(2)->typeAt(), 3);
    EXPECT_EQ(db.getTypeVars(3)->typeAt(), 6);
    EXPECT_EQ(db.getTypeVars(4), nullptr);
    EXPECT_EQ(db.isVariable({4, 1, 0}), 0);
    SVal val;
    EXPECT_EQ(db.getVal({4, 1, 0}, &val), 0);
    EXPECT_EQ(db.setDat({4, 1, 0}, SVal(type_char)), 0);

    // Attributes of AV are looked up in HI's records, those of HI in single floats.
    database.put<std::uint8_t>(Area::passport, DB_HI, 1, 4, 'x');
    EXPECT_EQ(value(db, {2, 1, 5}, true), 'x');
    EXPECT_EQ(db.getTypeAtr({2, 1, 21}), none) << "reaches beyond HI's record";
    EXPECT_EQ(db.getTypeAtr({3, 1, 8}), none);
}

TEST_F(LoadBD, WorksWithoutAnySegment) {
    constexpr std::uint32_t kMore = 60000;  // than the segments hold
    database.answer({{1, kMore}, {2, kMore}, {3, kMore}, {4, kMore}, {5, kMore}, {6, kMore}});
    Capture out(STDOUT_FILENO);
    Capture err(STDERR_FILENO);
    CVeskBDSh db(0);
    db.LoadBD();
    SReading reading;
    for (std::uint8_t type = 1; type <= 6; ++type) {
        for (const auto attribute : std::initializer_list<std::uint16_t>{0, 5}) {
            const SVariable var{type, 1, type == 6 ? std::uint16_t{0} : attribute};
            SVal val(type_int);
            EXPECT_EQ(db.isVariable(var), 1);
            EXPECT_EQ(db.getVal(var, &val), 1);
            EXPECT_EQ(val.type_val, none);
            EXPECT_EQ(db.setDat(var, SVal(type_int)), 1);
            db.Read(var.type, var.num, var.num_atr, &reading);
            EXPECT_EQ(reading.val.type_val, none);
        }
    }
    EXPECT_EQ(db.setDatScale({1, 1, 0}, SVal(type_float), 0, 1), 1);
}

// ---- The database process ----------------------------------------------------------------------

int loadInAnotherProcess() {
    CVeskBDSh db(0);
    db.LoadBD();
    return db.isVariable({1, 1, 0}) ? 7 : 8;
}

TEST_F(LoadBD, LooksForTheDatabaseASecondTimeAndEndsTheProcess) {
    database.stop();
    const auto start = std::chrono::steady_clock::now();
    ChildProcess early(loadInAnotherProcess);
    EXPECT_EQ(early.wait(), 255);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(950));
    EXPECT_NE(early.out().find("No Base in lib"), std::string::npos);

    ChildProcess inTime(loadInAnotherProcess);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // the first look finds nothing
    database.start();
    EXPECT_EQ(inTime.wait(), 7);
}

TEST_F(LoadBD, RefusesOtherChannels) {
    ChildProcess server([] {
        CVeskBDSh(1).LoadBD();
        return 0;
    });
    EXPECT_EQ(server.wait(), 128 + SIGTERM);
    EXPECT_EQ(server.out(), "Sorry. Featcher not supported.");
}

TEST_F(LoadBD, IsFollowedByRequestsToProcess) {
    CVeskBDSh db(0);
    db.LoadBD();
    db.ObrBD();
    const std::vector<Request> requests = database.requestsFrom(getpid());
    EXPECT_EQ(requests.back(), (Request{0x1300, 0, 0, 0, 0}));
    ASSERT_NE(All->name_add("Simulator", getpid()), -1);
    db.ObrBD();
    EXPECT_EQ(database.requestsFrom(getpid()).size(), requests.size()) << "does it by itself";
    All->name_del("Simulator");

    database.stop();
    ChildProcess server([&] {
        db.ObrBD();
        return 0;
    });
    EXPECT_EQ(server.wait(), 255) << "nobody answers";
    database.start();
}

// ---- Attribute files ---------------------------------------------------------------------------

std::size_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

/// The files of a folder of their own, loaded without any table.
class LoadOffAtr : public testing::Test {
  protected:
    LoadOffAtr() {
        std::filesystem::create_directory(folder);
        setenv("SYSTEM", folder.c_str(), 1);
        SRV_Path.InitPathes();
        files.entries[Files::kVA] = {2, {{1, kFloat, 103}, {2, kFloat, 38}}};
        files.entries[Files::kDI] = {1, {{1, kByte, 50}}};
        files.entries[Files::kHI] = {12, {{11, kText, 28}, {12, kText, 28}}};
        files.entries[3] = {6, {{1, kFloat, 0}}};  // nobody's
        files.entries[Files::kDO] = {1, {{1, kWord, 53}}};
        files.entries[Files::kAV] = {2, {{1, kBit, 49, 2}, {2, kFloat, 167}}};
    }
    ~LoadOffAtr() override {
        std::filesystem::remove_all(folder);
        unsetenv("SYSTEM");
        SRV_Path.InitPathes();
    }
    int load() {
        db = std::make_unique<CVeskBDSh>(0);
        const std::size_t before = openFiles();
        Capture capture(STDOUT_FILENO);
        const int result = db->LoadOffAtr();
        out = capture.text();
        EXPECT_EQ(openFiles(), before + 1) << "the capture's; files are closed on every path";
        return result;
    }

    const std::string folder = testing::TempDir() + "descriptions";
    const std::string offsets = folder + "/offatrs.dat", types = folder + "/atributs.dat";
    Files files;
    std::unique_ptr<CVeskBDSh> db;
    std::string out;
};

TEST_F(LoadOffAtr, DescribesTheFiveTypes) {
    writeFile(offsets, files.offsets());
    writeFile(types, files.types());
    EXPECT_EQ(load(), 0);
    EXPECT_EQ(out, "");
    const struct {
        std::uint8_t type;
        std::uint16_t count;
        std::vector<std::pair<int, TYPE_VAL>> types;  // by attribute
    } cases[] = {
        {1, 2, {{0, type_float}, {1, type_float}, {2, type_float}, {3, none}}},
        {2, 2, {{0, type_float}, {1, type_char}, {2, type_float}, {3, none}}},
        {3, 12, {{0, type_float}, {1, none}, {11, type_str9}, {12, type_str17}, {13, none}}},
        {4, 1, {{0, type_char}, {1, type_char}, {2, none}}},
        {5, 1, {{0, type_char}, {1, type_short}, {2, none}}},
        {6, 0, {{0, type_float}, {1, none}}},
        {7, 0, {{0, type_float}, {1, none}}},
        {8, 0, {{0, type_float}, {1, none}}},
        {9, 0, {{0, type_float}, {1, none}}},
        {10, 0, {{0, type_short}, {1, none}}},
        {11, 0, {{0, type_char}, {1, none}}},
    };
    for (const auto& c : cases) {
        for (const auto& [attribute, type] : c.types) {
            SCOPED_TRACE(std::to_string(c.type) + "." + std::to_string(attribute));
            const SVariable var{c.type, 1, static_cast<std::uint16_t>(attribute)};
            EXPECT_EQ(db->getTypeAtr(var), type);
            EXPECT_EQ(db->isAttribute(var), attribute <= c.count);
        }
    }
    for (const auto noType : std::initializer_list<std::uint8_t>{0, 12, 255}) {
        EXPECT_EQ(db->isAttribute({noType, 1, 0}), 0);
        EXPECT_EQ(db->getTypeAtr({noType, 1, 0}), none);
    }
}

TEST_F(LoadOffAtr, TellsFaultsWithFileEntryAndAttribute) {
    // CP866 of the Russian for "The attribute description file cannot be opened - "
    const std::string notOpened =
        "\x8D\xA5\xA2\xAE\xA7\xAC\xAE\xA6\xAD\xAE\x20\xAE\xE2\xAA\xE0\xEB\xE2\xEC\x20\xE4\xA0\xA9"
        "\xAB\x20\xAE\xAF\xA8\xE1\xA0\xAD\xA8\xEF\x20\xA0\xE2\xE0\xA8\xA1\xE3\xE2\xAE\xA2 - ";
    const struct {
        const char* why;
        int offsetOfSecond;  // attribute of VA
        std::size_t typeBytes;
        std::string typeCount;
        int result;
        TYPE_VAL first;  // of VA 1, whose entry is the first
        std::string told;
    } cases[] = {
        {"no file of types", 38, 0, "", -1, none, notOpened + types + "\n\r"},
        {"other entry counts", 38, 99, "\x09", -1, none, ""},
        {"cut in the second entry", 38, 11, "\x08", -1, type_float,
         types + ", entry 1: the file ends here\n"},
        {"an attribute outside", 111, 99, "\x08", 0, type_float,
         offsets + ", entry 0, attribute 2: 4 bytes at 111 are not inside a record of 114\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        files.entries[Files::kVA].attributes[1].offset = c.offsetOfSecond;
        writeFile(offsets, files.offsets());
        if (c.typeBytes != 0)
            writeFile(types, c.typeCount + files.types().substr(1, c.typeBytes - 1));
        EXPECT_EQ(load(), c.result);
        EXPECT_EQ(out, c.told);
        EXPECT_EQ(db->getTypeAtr({1, 1, 1}), c.first);
        EXPECT_EQ(db->getTypeAtr({1, 1, 2}), c.result == 0 ? none : c.first);
        EXPECT_EQ(db->isAttribute({1, 1, 2}), c.first == type_float);
        EXPECT_EQ(db->getTypeAtr({1, 1, 0}), type_float) << "values need no description";
    }
    std::filesystem::remove(offsets);
    EXPECT_EQ(load(), -1);
    EXPECT_EQ(out, notOpened + offsets + "\n\r");
    std::filesystem::create_directory(offsets);
    EXPECT_EQ(load(), -1);
    EXPECT_EQ(out, offsets + ": the file ends here\n") << "a folder in place of the file";
}

}  // namespace
