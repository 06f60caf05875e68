#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>

#include "lib/bd_vesk/bdvesk.h"
#include "support/controller_database.h"
#include "values.h"

using enum ControllerDatabase::Area;

namespace {

std::string shown(SVariable var) {
    return std::to_string(var.type) + "." + std::to_string(var.num + 0) + ".A" +
           std::to_string(var.num_atr + 0);
}

/// A loaded database of zeros. See controller_database.h for its attributes.
class AccessTest : public testing::Test {
  protected:
    AccessTest() {
        database.clear();
        db.LoadBD();
    }

    /// kRefused when the answer is 0, which leaves the value untouched.
    SVal read(SVariable var, bool current = true) {
        SVal val = kRefused;
        const BOOL ok = current ? db.getVal(var, &val) : db.getDat(var, &val);
        EXPECT_NE(ok == 1, val == kRefused);
        return val;
    }

    const SVal kRefused = i32(99);
    CVeskBDSh db{0};
};

TEST_F(AccessTest, ReadsEveryStorage) {
    database.put(passport, DB_VA, 2, 103, -1.5F);
    database.put<std::uint8_t>(passport, DB_VA, 2, 108, 0x80);
    database.put<std::uint8_t>(passport, DB_VA, 2, 107, 0xFF);
    database.put<std::int16_t>(passport, DB_VA, 2, 83, -2);
    database.putText(DB_VA, 2, 4, "\x92\x85-789012");
    database.putText(DB_HI, 3, 28, "seventeen letters");
    database.put(currentData, DB_VA, 2, 0, 1.0F);
    database.put(currentValue, DB_VA, 2, 0, 2.0F);
    database.put(passport, DB_AV, 2, 167, 3.0F);
    database.put(currentValue, DB_HI, 2, 0, 4.0F);
    database.put<char>(currentData, DB_DI, 2, 0, 5);
    database.put<char>(currentValue, DB_DI, 2, 0, 6);
    database.put<char>(currentData, DB_DO, 2, 0, 7);
    database.put<std::uint8_t>(currentValue, DB_DO, 2, 0, 0xF8);
    database.put(passport, DB_TH, 2, 0, 9.0F);
    database.put<std::int16_t>(passport, DB_IV, 2, 0, -32768);
    database.put<char>(passport, DB_LV, 2, 0, 11);
    const struct {
        SVariable var;
        SVal current;
        SVal raw = current;
    } cases[] = {
        {{1, 2, 29}, flt(-1.5F)},
        {{1, 1, 29}, flt(0.0F)},
        {{1, 2, 31}, chr(0)},
        {{1, 2, 38}, chr(1)},
        {{1, 2, 30}, chr(255)},
        {{1, 2, 24}, i16(-2)},
        {{1, 2, 5}, str9("\x92\x85-789012")},
        {{1, 2, 40}, SVal()},
        {{1, 2, 51}, kRefused},
        {{3, 3, 12}, str17("seventeen letters")},
        {{1, 0, 5}, SVal()},
        {{1, 4, 5}, SVal()},
        {{6, 1, 1}, kRefused},
        {{0, 1, 0}, kRefused},
        {{12, 1, 0}, kRefused},
        {{1, 2, 0}, flt(2.0F), flt(1.0F)},
        {{2, 2, 0}, flt(3.0F)},
        {{3, 2, 0}, flt(4.0F)},
        {{4, 2, 0}, chr(6), chr(5)},
        {{5, 2, 0}, chr(248), chr(7)},
        {{6, 2, 0}, flt(9.0F)},
        {{10, 2, 0}, i16(-32768)},
        {{11, 2, 0}, chr(11)},
        {{11, 99, 0}, SVal()},
        {{1, 0, 0}, SVal()},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read(c.var), c.current) << shown(c.var);
        EXPECT_EQ(read(c.var, false), c.raw) << shown(c.var);
    }
    EXPECT_EQ(db.getVal({1, 1, 0}, nullptr), 0);
}

TEST_F(AccessTest, WritesAttributeZeroIntoTheCurrentData) {
    database.put<char>(currentData, DB_DI, 1, 0, 9);
    const struct {
        const char* why;
        SVariable var;
        SVal val;
        BOOL result;
        SVal raw;
    } cases[] = {
        {"a text", {1, 3, 0}, str9("2.5"), 1, flt(2.5F)},
        {"a text for a byte", {4, 2, 0}, str9("12"), 1, chr(12)},
        {"a negative float for a byte", {5, 2, 0}, flt(-1.5F), 1, chr(0)},
        {"a float is truncated", {10, 1, 0}, flt(2.9F), 1, i16(2)},
        {"into the passport", {2, 1, 0}, i16(-4), 1, flt(-4.0F)},
        {"a value without type is zero", {4, 1, 0}, SVal(), 1, chr(0)},
        {"number 0 is taken and lost", {4, 0, 0}, chr(1), 1, SVal()},
        {"no such variable", {4, 7, 0}, chr(1), 0, SVal()},
        {"no such type", {0, 1, 0}, chr(1), 0, kRefused},
        {"no such type", {12, 1, 0}, chr(1), 0, kRefused},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(db.setDat(c.var, c.val), c.result) << c.why;
        EXPECT_EQ(read(c.var, false), c.raw) << c.why;
    }
    EXPECT_EQ(read({1, 3, 0}), flt(0.0F)) << "the value is the controller's";
    EXPECT_EQ(db.setDat({6, 2, 500}, uch(200)), 1) << "types without attributes";
    EXPECT_EQ(read({6, 2, 0}), flt(200.0F));
}

TEST_F(AccessTest, WritesEveryStorageAndNothingBesideIt) {
    const auto records = [] {
        std::string all;
        for (int num = 1; num <= 3; ++num)
            for (std::size_t i = 0; i < 114; ++i)
                all += database.get<char>(passport, DB_VA, num, i);
        return all;
    };
    for (int num = 1; num <= 3; ++num)
        database.putText(DB_VA, num, 0, std::string(114, '\x55'));
    std::string want = records();
    const struct {
        const char* why;
        std::uint16_t attribute;
        SVal val;
        std::size_t offset;
        std::string bytes;
    } cases[] = {
        {"a float, 3", 29, i32(3), 103, std::string("\0\0\x40\x40", 4)},
        {"bit 0 goes", 31, i32(0), 108, "\x54"},
        {"half is no bit", 31, flt(0.5F), 108, "\x54"},
        {"bit 7 comes", 38, str9("2"), 108, "\xD4"},
        {"a byte", 30, i16(-1), 107, "\xFF"},
        {"a word, -300", 24, flt(-300), 83, "\xD4\xFE"},
        {"a text", 5, i16(-1), 4, std::string("-1\0\0\0\0\0\0\0", 9)},
        {"an unknown storage", 40, i32(1), 0, ""},
        {"no such attribute", 51, i32(1), 0, ""},
        {"nor the last one", 0xFFFF, i32(1), 0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(db.setDat({1, 2, c.attribute}, c.val), 1) << c.why;
        want.replace(114 + c.offset, c.bytes.size(), c.bytes);
        EXPECT_EQ(records(), want) << c.why;
    }
    EXPECT_EQ(db.setDat({1, 0, 1}, i32(1)), 1);
    EXPECT_EQ(db.setDat({1, 4, 1}, i32(1)), 0);
    EXPECT_EQ(records(), want);

    database.putText(DB_HI, 1, 28, "seventeen letters");
    EXPECT_EQ(db.setDat({3, 1, 12}, str17("abcdefghijklmnopq")), 1);
    EXPECT_EQ(read({3, 1, 12}), str17("abcdefghi letters")) << "nine bytes of the long text";
}

TEST_F(AccessTest, ScalesCurrentDataOfAnalogInputs) {
    database.put(passport, DB_VA, 1, 34, -50.0F);
    database.put(passport, DB_VA, 1, 38, 150.0F);
    const struct {
        const char* why;
        SVariable var;
        BOOL result;
        SVal raw;
    } cases[] = {
        {"(30 - 10) * (90 - 10) / (150 + 50) - 50", {1, 1, 0}, 1, flt(-42.0F)},
        {"an empty scale", {1, 2, 0}, 1, flt(std::numeric_limits<float>::infinity())},
        {"no attribute", {1, 3, 29}, 1, flt(0.0F)},
        {"no other type", {2, 1, 0}, 1, flt(0.0F)},
        {"no such variable", {1, 4, 0}, 0, SVal()},
        {"no such type", {12, 1, 0}, 0, kRefused},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(db.setDatScale(c.var, i16(30), 10, 90), c.result) << c.why;
        EXPECT_EQ(read(c.var, false), c.raw) << c.why;
    }
    EXPECT_EQ(read({1, 3, 0}, false), flt(0.0F)) << "nothing stored";
}

TEST_F(AccessTest, TellsChangesOfTheTypesAperture) {
    SApertures apertures{0.5F, 0, 10};
    db.LoadAperture(&apertures);
    db.LoadAperture(nullptr);
    SVal last;
    const auto changes = [&](SVariable var) { return db.getChangeVal(var, &last, nullptr); };
    EXPECT_EQ(changes({1, 1, 0}), 1) << "another type than before";
    const std::tuple<SVariable, ControllerDatabase::Area, std::size_t, float, BOOL> floats[] = {
        {{1, 1, 0}, currentValue, 0, 0.4F, 0},  // below the aperture
        {{1, 1, 0}, currentValue, 0, -0.5F, 1},
        {{1, 1, 0}, currentValue, 0, std::numeric_limits<float>::quiet_NaN(), 1},
        {{1, 1, 0}, currentValue, 0, std::numeric_limits<float>::quiet_NaN(), 0},
        {{1, 1, 0}, currentValue, 0, 0.0F, 1},
        {{3, 1, 0}, currentValue, 0, 9.0F, 0},
        {{3, 1, 0}, currentValue, 0, 10.0F, 1},
        {{2, 1, 0}, passport, 167, 10.001F, 1},  // no aperture: any change
    };
    for (const auto& [var, area, offset, value, changed] : floats) {
        database.put(area, var.type, var.num, offset, value);
        EXPECT_EQ(changes(var), changed) << shown(var) << ' ' << value;
    }
    EXPECT_EQ(static_cast<float>(last.value.fl), 10.001F);

    last.Set(chr(0));
    EXPECT_EQ(changes({4, 1, 0}), 0);
    database.put<char>(currentValue, DB_DI, 1, 0, 1);
    EXPECT_EQ(changes({4, 1, 0}), 1);
    last.Set(str9(""));
    database.putText(DB_VA, 1, 4, "TE-1");
    EXPECT_EQ(changes({1, 1, 5}), 1);
    EXPECT_EQ(changes({1, 1, 5}), 0);
    EXPECT_EQ(changes({1, 1, 99}), 0) << "no such attribute";
    EXPECT_EQ(db.getChangeVal({1, 1, 0}, nullptr, nullptr), 0);

    apertures.aperture_AV = 2;
    db.LoadAperture(&apertures);
    for (const auto& [attribute, own, related] :
         {std::tuple(21, 50, 127), std::tuple(39, 119, 123)}) {
        SCOPED_TRACE(attribute);
        const SVariable var{2, 1, static_cast<std::uint16_t>(attribute)};
        SVal aux;
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 1);
        database.put(passport, DB_AV, 1, static_cast<std::size_t>(own), 5.0F);
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 0) << "its own change does not count";
        database.put(passport, DB_AV, 1, static_cast<std::size_t>(related), 1.0F);
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 0) << "below the aperture";
        database.put(passport, DB_AV, 1, static_cast<std::size_t>(related), 2.0F);
        EXPECT_EQ(db.getChangeVal(var, &last, &aux), 1);
        EXPECT_EQ(static_cast<float>(last.value.fl), 5.0F);
        EXPECT_EQ(static_cast<float>(aux.value.fl), 2.0F);
    }
}

TEST_F(AccessTest, ReadsAllAtOnceAsTheSingleOperationsDo) {
    for (int num = 1; num <= 2; ++num) {
        database.putText(DB_VA, num, 0, std::string(114, '\x3D'));
        database.put(currentValue, DB_VA, num, 0, 4.5F);
        database.putText(DB_DO, num, 0, std::string(58, '\x3C'));
        for (const int type : {DB_VA, DB_AV, DB_HI, DB_DI, DB_DO}) {
            database.setTime(type, num, 0x5A5A, 0x5B5B);
            database.setQuality(type, num, 0x5C);
        }
    }
    SReading all;
    for (const SVariable var : {SVariable{1, 2, 0},
                                {1, 2, 29},
                                {1, 2, 5},
                                {1, 2, 51},
                                {1, 4, 0},
                                {1, 0, 1},
                                {3, 5, 12},
                                {5, 2, 20},
                                {6, 1, 0},
                                {11, 2, 0},
                                {0, 1, 0},
                                {12, 1, 0}}) {
        SCOPED_TRACE(shown(var));
        SVal val;
        db.getVal(var, &val);
        db.Read(var.type, var.num, var.num_atr, &all);  // over the former reading
        EXPECT_EQ(all.type_atr, db.getTypeAtr(var));
        EXPECT_EQ(all.val, val);
        EXPECT_EQ(all.time.tv_sec, db.getTime(var).tv_sec);
        EXPECT_EQ(all.time.tv_usec, db.getTime(var).tv_usec);
        EXPECT_EQ(all.quality, db.getQuality(var));
    }
}

TEST_F(AccessTest, TimesAndQualitiesAreThoseOfTheVariable) {
    database.setTime(DB_DI, 1, 1, 2);
    database.setQuality(DB_DI, 1, 0xC0);
    EXPECT_EQ(db.getTime({4, 1, 77}).tv_sec, 1);
    EXPECT_EQ(db.getTime({4, 1, 0}).tv_usec, 2);
    EXPECT_EQ(db.getQuality({4, 1, 0}), 0xC0U);

    EXPECT_EQ(db.setTime({2, 2, 0}, {9, 8}), 0);
    EXPECT_EQ(db.setQuality({2, 2, 0}, 7), 0);
    EXPECT_EQ(db.setFlags({2, 2, 0}, 6), 0);
    EXPECT_EQ(db.getFlags({2, 2, 0}), 6U);
    const TimeQuality* const asymmetric = db.getTQFPointer({1, 1, 0});
    ASSERT_NE(asymmetric, nullptr);
    EXPECT_EQ(asymmetric->Time.tv_sec, 9) << "AV's second record";
    EXPECT_EQ(asymmetric->Time.tv_usec, 8);
    EXPECT_EQ(asymmetric->Quality * 10 + asymmetric->Flags, 76U);
    EXPECT_EQ(db.getTQFPointer({5, 1, 0}), nullptr);

    for (const SVariable outside :
         {SVariable{0, 1, 0}, {1, 0, 0}, {1, 4, 0}, {6, 1, 0}, {11, 1, 0}}) {
        SCOPED_TRACE(shown(outside));
        EXPECT_EQ(db.getTime(outside).tv_sec, 0);
        EXPECT_EQ(db.getQuality(outside) + db.getFlags(outside), 0U);
        EXPECT_EQ(db.setTime(outside, {1, 1}), -1);
        EXPECT_EQ(db.setQuality(outside, 1), -1);
        EXPECT_EQ(db.setFlags(outside, 1), -1);
    }
}

}  // namespace
