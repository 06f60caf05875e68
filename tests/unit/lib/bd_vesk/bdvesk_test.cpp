#include "lib/bd_vesk/bdvesk.h"

#include "lib/util/cp866_text.h"
#include "lib/util/shmem.h"
#include "lib/util/veskpath.h"
#include "lib/util/vs_obj.h"
#include "sim/layout/attribute_files.h"
#include "tests/support/child_process.h"
#include "tests/support/controller_database.h"
#include "tests/support/files.h"
#include "tests/unit/lib/bd_vesk/values.h"

using enum ControllerDatabase::Area;

static std::string shown(SVariable var) {
    return std::to_string(var.type) + "." + std::to_string(var.num + 0) + ".A" +
           std::to_string(var.num_atr + 0);
}

/// A loaded database of zeros; its attributes are those of docs/attributes.md.
class BdVesk : public testing::Test {
  protected:
    BdVesk() {
        database.clear();
        db.LoadBD();
    }
    ~BdVesk() override { database.announced = ControllerDatabase::kCounts; }

    /// kRefused when the answer is 0, which leaves the value untouched.
    SVal read(SVariable var, bool current = true) {
        SVal val = kRefused;
        const BOOL ok = current ? db.getVal(var, &val) : db.getDat(var, &val);
        EXPECT_NE(ok == 1, val == kRefused);
        return val;
    }

    /// One by one and all at once.
    void expectRead(SVariable var, const SVal& current, const SVal& raw) {
        SCOPED_TRACE(shown(var));
        EXPECT_EQ(read(var), current);
        EXPECT_EQ(read(var, false), raw);
        EXPECT_EQ(db.isAttribute(var), !(current == kRefused));
        db.Read(var.type, var.num, var.num_atr, &reading);  // over the former reading
        EXPECT_EQ(reading.val, current == kRefused ? SVal() : current);
        const auto [seconds, microseconds] = db.getTime(var);
        EXPECT_EQ(std::tuple(+reading.type_atr, +reading.time.tv_sec, +reading.time.tv_usec,
                             +reading.quality),
                  std::tuple(+db.getTypeAtr(var), seconds, microseconds, db.getQuality(var)));
    }

    const SVal kRefused = i32(99);
    CVeskBDSh db{0};
    SReading reading;
};

// ---- Loading -----------------------------------------------------------------------------------

TEST_F(BdVesk, HasTheVariablesThatTheDatabaseProcessAnnounces) {
    for (std::uint8_t type = 1; type <= 11; ++type) {
        SCOPED_TRACE(static_cast<int>(type));
        const std::uint16_t last = ControllerDatabase::kCounts[type - 1U];
        EXPECT_EQ(db.getTypeVars(type)->typeAt(), type);
        EXPECT_EQ(db.isVariable({type, last, 0}), 1);
        EXPECT_EQ(db.isVariable({type, static_cast<std::uint16_t>(last + 1), 0}), 0);
    }
    EXPECT_EQ(db.isVariable({1, 0, 0}), 1) << "number 0 is not checked";
    EXPECT_EQ(db.isVariable({0, 1, 0}) + db.isVariable({12, 1, 0}), 0);
    EXPECT_EQ(db.getTypeVars(12), db.getTypeVars(1)) << "the list comes round";

    database.announced = {3, 0, 4, 0, 0, 3};
    db.LoadBD();
    for (const auto& [place, type] : {std::pair(1, 1), {2, 3}, {3, 6}})
        EXPECT_EQ(db.getTypeVars(static_cast<std::uint16_t>(place))->typeAt(), type);
    EXPECT_EQ(db.getTypeVars(4), nullptr) << "types without variables move the later ones down";
    EXPECT_EQ(db.isVariable({4, 1, 0}) + db.setDat({4, 1, 0}, chr(1)), 0);
    EXPECT_EQ(read({4, 1, 0}), kRefused);
    EXPECT_EQ(db.getTypeAtr({2, 1, 21}), none) << "reaches beyond the record of HI";
}

TEST_F(BdVesk, TellsFaultsOfTheDescriptionsWithFileEntryAndAttribute) {
    const std::string notOpened =  // its first word byte by byte
        std::string("\x8D\xA5\xA2\xAE\xA7\xAC\xAE\xA6\xAD\xAE") +
        " открыть файл описания атрибутов - "_cp866z;
    const std::string folder = testing::TempDir() + "descriptions";
    const std::string offsets = folder + "/offatrs.dat", types = folder + "/atributs.dat";
    setenv("SYSTEM", folder.c_str(), 1);
    SRV_Path.InitPathes();
    CVeskBDSh described(0);
    unsetenv("SYSTEM");
    SRV_Path.InitPathes();

    const std::string places = sim::offsetFile().replace(40, 1, "\x72");  // of the first field
    const std::string kinds = sim::kindFile();
    const std::string outside =
        offsets + ", entry 0, attribute 1: 1 bytes at 114 are not inside a record of 114\n";
    const struct {
        const char* why;
        std::string offsets, types;  // empty: no such file
        int result;
        std::string printed;
    } cases[] = {
        {"no files", "", "", -1, notOpened + offsets + "\n\r"},
        {"no file of types", places, "", -1, notOpened + types + "\n\r"},
        {"other entry counts", places, "\x09" + kinds.substr(1), -1, ""},
        {"cut in the second entry", places, kinds.substr(0, 191), -1,
         types + ", entry 1: the file ends here\n" + outside},
        {"an attribute outside", places, kinds, 0, outside},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        if (!c.offsets.empty()) writeFile(offsets, c.offsets);
        if (!c.types.empty()) writeFile(types, c.types);
        Capture out(STDOUT_FILENO);
        EXPECT_EQ(described.LoadOffAtr(), c.result);
        EXPECT_EQ(out.text(), c.printed);
        const bool isKept = c.printed.ends_with(outside);
        EXPECT_EQ(described.getTypeAtr({1, 1, 29}), isKept ? type_float : none);
        EXPECT_EQ(described.isAttribute({1, 1, 62}), isKept);
        EXPECT_EQ(described.getTypeAtr({1, 1, 0}), type_float) << "values need no description";
    }
}

// ---- Reading and writing -----------------------------------------------------------------------

TEST_F(BdVesk, ReadsEveryStorage) {
    const struct {
        SVariable var;
        ControllerDatabase::Area area;
        std::size_t offset;
        SVal stored;
        SVal current = stored;
        SVal raw = current;
    } cases[] = {
        {{1, 2, 0}, currentValue, 0, flt(2.0F), flt(2.0F), flt(0.0F)},
        {{1, 2, 0}, currentData, 0, flt(1.0F), flt(0.0F), flt(1.0F)},
        {{2, 2, 0}, passport, 167, flt(3.0F)},
        {{3, 2, 0}, currentValue, 0, flt(4.0F)},
        {{4, 2, 0}, currentValue, 0, chr(6), chr(6), chr(0)},
        {{4, 2, 0}, currentData, 0, chr(5), chr(0), chr(5)},
        {{5, 2, 0}, currentValue, 0, chr(0xF8), chr(248), chr(0)},
        {{5, 2, 0}, currentData, 0, chr(7), chr(0), chr(7)},
        {{6, 2, 0}, currentValue, 0, flt(9.0F)},
        {{10, 2, 0}, currentValue, 0, i16(-32768)},
        {{11, 2, 0}, currentValue, 0, chr(11)},
        {{1, 2, 45}, passport, 108, chr(0x80), chr(1)},
        {{1, 2, 5}, passport, 4, str9("\x92\x85-789012")},
        {{3, 4, 12}, passport, 28, str17("seventeen letters")},
    };
    for (const auto& c : cases) {
        database.clear();
        database.put(c.area, c.var.type, c.var.num, c.offset, c.stored.value);  // then zeros
        if (c.var.type <= 5) {
            database.setTime(c.var.type, c.var.num, 0x5A5A, 0x5B5B);
            database.setQuality(c.var.type, c.var.num, 0x5C);
        }
        expectRead(c.var, c.current, c.raw);
        EXPECT_EQ(db.getTypeAtr(c.var), +c.current.type_val) << shown(c.var);
    }
    for (const SVariable none : {SVariable{1, 0, 5}, {1, 4, 5}, {1, 0, 0}, {11, 99, 0}, {3, 5, 12}})
        expectRead(none, SVal(), SVal());
    for (const SVariable refused : {SVariable{1, 2, 63}, {6, 1, 1}, {0, 1, 0}, {12, 1, 0}}) {
        expectRead(refused, kRefused, kRefused);
        EXPECT_EQ(db.getTypeAtr(refused), none);
    }
    EXPECT_EQ(db.getVal({1, 1, 0}, nullptr), 0);
}

TEST_F(BdVesk, WritesAttributeZeroIntoTheCurrentData) {
    database.put<char>(currentData, DB_DI, 1, 0, 9);
    database.put(passport, DB_VA, 1, 34, std::array{-50.0F, 150.0F});
    const struct {
        const char* why;
        SVariable var;
        SVal val;
        BOOL result;
        SVal raw;
        bool isScaled = false;  // from 10 to 90
    } cases[] = {
        {"a text", {1, 3, 0}, str9("2.5"), 1, flt(2.5F)},
        {"a text for a byte", {4, 2, 0}, str9("12"), 1, chr(12)},
        {"a negative float for a byte", {5, 2, 0}, flt(-1.5F), 1, chr(0)},
        {"a float is truncated", {10, 1, 0}, flt(2.9F), 1, i16(2)},
        {"into the passport", {2, 1, 0}, i16(-4), 1, flt(-4.0F)},
        {"a value without type is zero", {4, 1, 0}, SVal(), 1, chr(0)},
        {"number 0 is taken and lost", {4, 0, 0}, chr(1), 1, SVal()},
        {"no such variable", {4, 7, 0}, chr(1), 0, SVal()},
        {"no such type", {12, 1, 0}, chr(1), 0, kRefused},
        {"(30 - 10) * (90 - 10) / (150 + 50) - 50", {1, 1, 0}, i16(30), 1, flt(-42.0F), true},
        {"an empty scale", {1, 2, 0}, i16(30), 1, flt(HUGE_VALF), true},
        {"an attribute is not scaled", {1, 3, 29}, i16(30), 1, flt(0.0F), true},
        {"nor another type", {2, 1, 0}, i16(30), 1, flt(-4.0F), true},
        {"no such variable", {1, 4, 0}, i16(30), 0, SVal(), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(c.isScaled ? db.setDatScale(c.var, c.val, 10, 90) : db.setDat(c.var, c.val),
                  c.result);
        EXPECT_EQ(read(c.var, false), c.raw);
    }
    EXPECT_EQ(read({1, 3, 0}, false), flt(2.5F)) << "not scaled";
    EXPECT_EQ(read({1, 3, 0}), flt(0.0F)) << "the value is the controller's";
    EXPECT_EQ(db.setDat({1, 0, 1}, i32(1)) + db.setDat({1, 2, 63}, i32(1)), 2)
        << "taken and lost: number 0, no such attribute";
    EXPECT_EQ(db.setDat({1, 4, 1}, i32(1)), 0) << "no such variable";
    EXPECT_EQ(db.setDat({6, 2, 500}, uch(200)), 1) << "types without attributes";
    EXPECT_EQ(read({6, 2, 0}), flt(200.0F));
}

TEST_F(BdVesk, TellsChangesOfTheTypesAperture) {
    SApertures apertures{0.5F, 0, 10};
    db.LoadAperture(&apertures);
    db.LoadAperture(nullptr);
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    SVal last;
    EXPECT_EQ(db.getChangeVal({1, 1, 0}, &last, nullptr), 1) << "another type than before";
    const std::tuple<SVariable, ControllerDatabase::Area, std::size_t, SVal, BOOL> steps[] = {
        {{1, 1, 0}, currentValue, 0, flt(0.4F), 0},  // below the aperture
        {{1, 1, 0}, currentValue, 0, flt(-0.5F), 1}, {{1, 1, 0}, currentValue, 0, flt(kNan), 1},
        {{1, 1, 0}, currentValue, 0, flt(kNan), 0},  {{1, 1, 0}, currentValue, 0, flt(0.0F), 1},
        {{3, 1, 0}, currentValue, 0, flt(9.0F), 0},  {{3, 1, 0}, currentValue, 0, flt(10.0F), 1},
        {{2, 1, 0}, passport, 167, flt(10.001F), 1},  // no aperture: any change
        {{4, 1, 0}, currentValue, 0, chr(0), 1},      // another type
        {{4, 1, 0}, currentValue, 0, chr(1), 1},     {{1, 1, 5}, passport, 4, str9("TE-1"), 1},
        {{1, 1, 5}, passport, 4, str9("TE-12"), 1},  {{1, 1, 5}, passport, 4, str9("TE-12"), 0},
        {{1, 1, 99}, passport, 4, str9("TE-2"), 0},  // no such attribute
    };
    for (const auto& [var, area, offset, value, changed] : steps) {
        database.put(area, var.type, var.num, offset, value.value);
        EXPECT_EQ(db.getChangeVal(var, &last, nullptr), changed) << shown(var);
        EXPECT_TRUE(changed == 0 || last == value) << shown(var);
    }
    EXPECT_EQ(db.getChangeVal({1, 1, 0}, nullptr, nullptr), 0);

    apertures.aperture_AV = 2;
    db.LoadAperture(&apertures);
    for (const auto& [attribute, own, related] : {std::tuple(21, 50U, 127U), {39, 119U, 123U}}) {
        SCOPED_TRACE(attribute);
        const SVariable var{2, 1, static_cast<std::uint16_t>(attribute)};
        SVal aux;
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 1);
        database.put(passport, DB_AV, 1, own, 5.0F);
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 0) << "its own change does not count";
        database.put(passport, DB_AV, 1, related, 1.0F);
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 0) << "below the aperture";
        database.put(passport, DB_AV, 1, related, 2.0F);
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 1);
        EXPECT_TRUE(last == flt(5.0F) && aux == flt(2.0F));
    }
}

TEST_F(BdVesk, TimesAndQualitiesAreThoseOfTheVariable) {
    database.setTime(DB_DI, 1, 1, 2);
    database.setQuality(DB_DI, 1, 0xC0);
    const auto [seconds, microseconds] = db.getTime({4, 1, 77});
    EXPECT_TRUE(seconds == 1 && microseconds == 2 && db.getQuality({4, 1, 0}) == 0xC0);
    const SVariable av{2, 2, 0};
    EXPECT_EQ(db.setTime(av, {9, 8}) + db.setQuality(av, 7) + db.setFlags(av, 6), 0);
    EXPECT_EQ(db.getFlags(av), 6U);
    const TimeQuality second = *db.getTQFPointer({1, 1, 0});  // AV's: one type and record further
    EXPECT_EQ(std::tuple(second.Time.tv_sec, second.Time.tv_usec, second.Quality, second.Flags),
              std::tuple(9, 8, 7U, 6U));
    EXPECT_EQ(db.getTQFPointer({5, 1, 0}), nullptr);

    for (const SVariable outside : {SVariable{0, 1, 0}, {1, 0, 0}, {1, 4, 0}, {6, 1, 0}})
        EXPECT_EQ(db.setFlags(outside, 1), -1) << shown(outside);
}

/// The last test: nobody answers any more.
TEST_F(BdVesk, EndsTheProcessForOtherChannelsAndWhenNobodyAnswers) {
    ChildProcess otherChannel([] { return CVeskBDSh(1).LoadBD(), 0; });
    EXPECT_EQ(otherChannel.wait(), 128 + SIGTERM);
    EXPECT_EQ(otherChannel.out(), "Sorry. Featcher not supported.");
    db.ObrBD();
    database.stop();
    ChildProcess processing([&] { return db.ObrBD(), 0; });
    EXPECT_EQ(processing.wait(), 255);
    ASSERT_NE(All->name_add("Simulator", getpid()), -1);
    db.ObrBD();  // nothing is asked: it does so by itself
}
