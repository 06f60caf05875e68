#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>

#include "lib/bd_vesk/bdvesk.h"
#include "support/controller_database.h"

using enum ControllerDatabase::Area;

namespace {

SVal number(TYPE_VAL type, int value) {
    SVal whole(type_int);
    whole.value.i = value;
    SVal val(type);
    val = whole;
    return val;
}
SVal real(float value) {
    SVal val(type_float);
    val.value.fl = value;
    return val;
}
SVal text(TYPE_VAL type, const std::string& bytes) {
    SVal val(type);
    std::memcpy(val.value.str17, bytes.data(), bytes.size());
    return val;
}

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

    std::string read(SVariable var, bool current = true) {
        SVal val = number(type_int, 99);
        const BOOL ok = current ? db.getVal(var, &val) : db.getDat(var, &val);
        if (!ok) return val.type_val == type_int ? "refused" : "refused, but changed";
        switch (val.type_val) {
            case none:
                return "none";
            case type_char:
                return "char " + std::to_string(static_cast<int>(val.value.uch));
            case type_short:
                return "short " + std::to_string(static_cast<int>(val.value.sh));
            case type_float:
                return "float " + std::to_string(static_cast<float>(val.value.fl));
            case type_str9:
                return "str9 " + std::string(val.value.str9, 9);
            case type_str17:
                return "str17 " + std::string(val.value.str17, 17);
            default:
                return "type " + std::to_string(static_cast<int>(val.type_val));
        }
    }

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
        const char* current;
        const char* raw = nullptr;  // the same
    } cases[] = {
        {{1, 2, 29}, "float -1.500000"},
        {{1, 1, 29}, "float 0.000000"},
        {{1, 2, 31}, "char 0"},
        {{1, 2, 38}, "char 1"},
        {{1, 2, 30}, "char 255"},
        {{1, 2, 24}, "short -2"},
        {{1, 2, 5}, "str9 \x92\x85-789012"},
        {{1, 2, 40}, "none"},
        {{1, 2, 51}, "refused"},
        {{3, 3, 12}, "str17 seventeen letters"},
        {{1, 0, 5}, "none"},
        {{1, 4, 5}, "none"},
        {{6, 1, 1}, "refused"},
        {{0, 1, 0}, "refused"},
        {{12, 1, 0}, "refused"},
        {{1, 2, 0}, "float 2.000000", "float 1.000000"},
        {{2, 2, 0}, "float 3.000000"},
        {{3, 2, 0}, "float 4.000000"},
        {{4, 2, 0}, "char 6", "char 5"},
        {{5, 2, 0}, "char 248", "char 7"},
        {{6, 2, 0}, "float 9.000000"},
        {{10, 2, 0}, "short -32768"},
        {{11, 2, 0}, "char 11"},
        {{11, 99, 0}, "none"},
        {{1, 0, 0}, "none"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read(c.var), c.current) << shown(c.var);
        EXPECT_EQ(read(c.var, false), c.raw != nullptr ? c.raw : c.current) << shown(c.var);
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
        const char* raw;
    } cases[] = {
        {"a text", {1, 3, 0}, text(type_str9, "2.5"), 1, "float 2.500000"},
        {"a text for a byte", {4, 2, 0}, text(type_str9, "12"), 1, "char 12"},
        {"a negative float for a byte", {5, 2, 0}, real(-1.5F), 1, "char 0"},
        {"a float is truncated", {10, 1, 0}, real(2.9F), 1, "short 2"},
        {"into the passport", {2, 1, 0}, number(type_short, -4), 1, "float -4.000000"},
        {"a value without type is zero", {4, 1, 0}, SVal(), 1, "char 0"},
        {"number 0 is taken and lost", {4, 0, 0}, number(type_char, 1), 1, "none"},
        {"no such variable", {4, 7, 0}, number(type_char, 1), 0, "none"},
        {"no such type", {0, 1, 0}, number(type_char, 1), 0, "refused"},
        {"no such type", {12, 1, 0}, number(type_char, 1), 0, "refused"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(db.setDat(c.var, c.val), c.result) << c.why;
        EXPECT_EQ(read(c.var, false), c.raw) << c.why;
    }
    EXPECT_EQ(read({1, 3, 0}), "float 0.000000") << "the value is the controller's";
    EXPECT_EQ(db.setDat({6, 2, 500}, number(type_uchar, 200)), 1) << "types without attributes";
    EXPECT_EQ(read({6, 2, 0}), "float 200.000000");
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
        {"a float, 3", 29, number(type_int, 3), 103, std::string("\0\0\x40\x40", 4)},
        {"bit 0 goes", 31, number(type_int, 0), 108, "\x54"},
        {"half is no bit", 31, real(0.5F), 108, "\x54"},
        {"bit 7 comes", 38, text(type_str9, "2"), 108, "\xD4"},
        {"a byte", 30, number(type_short, -1), 107, "\xFF"},
        {"a word, -300", 24, real(-300), 83, "\xD4\xFE"},
        {"a text", 5, number(type_short, -1), 4, std::string("-1\0\0\0\0\0\0\0", 9)},
        {"an unknown storage", 40, number(type_int, 1), 0, ""},
        {"no such attribute", 51, number(type_int, 1), 0, ""},
        {"nor the last one", 0xFFFF, number(type_int, 1), 0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(db.setDat({1, 2, c.attribute}, c.val), 1) << c.why;
        want.replace(114 + c.offset, c.bytes.size(), c.bytes);
        EXPECT_EQ(records(), want) << c.why;
    }
    EXPECT_EQ(db.setDat({1, 0, 1}, number(type_int, 1)), 1);
    EXPECT_EQ(db.setDat({1, 4, 1}, number(type_int, 1)), 0);
    EXPECT_EQ(records(), want);

    database.putText(DB_HI, 1, 28, "seventeen letters");
    EXPECT_EQ(db.setDat({3, 1, 12}, text(type_str17, "abcdefghijklmnopq")), 1);
    EXPECT_EQ(read({3, 1, 12}), "str17 abcdefghi letters") << "nine bytes of the long text";
}

TEST_F(AccessTest, ScalesCurrentDataOfAnalogInputs) {
    database.put(passport, DB_VA, 1, 34, -50.0F);
    database.put(passport, DB_VA, 1, 38, 150.0F);
    const struct {
        const char* why;
        SVariable var;
        BOOL result;
        const char* raw;
    } cases[] = {
        {"(30 - 10) * (90 - 10) / (150 + 50) - 50", {1, 1, 0}, 1, "float -42.000000"},
        {"an empty scale", {1, 2, 0}, 1, "float inf"},
        {"no attribute", {1, 3, 29}, 1, "float 0.000000"},
        {"no other type", {2, 1, 0}, 1, "float 0.000000"},
        {"no such variable", {1, 4, 0}, 0, "none"},
        {"no such type", {12, 1, 0}, 0, "refused"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(db.setDatScale(c.var, number(type_short, 30), 10, 90), c.result) << c.why;
        EXPECT_EQ(read(c.var, false), c.raw) << c.why;
    }
    EXPECT_EQ(read({1, 3, 0}, false) + read({1, 1, 0}), "float 0.000000float 0.000000");
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

    last.Set(number(type_char, 0));
    EXPECT_EQ(changes({4, 1, 0}), 0);
    database.put<char>(currentValue, DB_DI, 1, 0, 1);
    EXPECT_EQ(changes({4, 1, 0}), 1);
    last.Set(text(type_str9, ""));
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
        EXPECT_EQ(std::memcmp(&all.val, &val, sizeof(val)), 0);
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
