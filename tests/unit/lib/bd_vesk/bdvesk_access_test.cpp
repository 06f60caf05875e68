#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "database.h"
#include "lib/bd_vesk/bdvesk.h"

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

/// A loaded database of zeros with attributes of every storage. One for all tests of the suite;
/// each starts with zeroed tables.
class AccessTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        database_ = new FullDatabase;
        AttributeFiles files;
        files.describe(AttributeFiles::kVA,
                       {{103, 3}, {108, 0, 0}, {108, 0, 7}, {31, 1}, {4, 6}, {107, 4}, {200, 3}});
        std::vector<AttributeFiles::Field> hi(13, {28, 1});
        hi[10] = hi[11] = {28, 6};
        files.describe(AttributeFiles::kHI, hi);
        std::vector<AttributeFiles::Field> av(41, {0, 1});
        av[20] = {50, 3};   // 21 ZD
        av[38] = {119, 3};  // 39 PRM
        av[39] = {123, 3};  // 40
        av[40] = {127, 3};  // 41
        files.describe(AttributeFiles::kAV, av);
        files.describe(AttributeFiles::kDO, {{53, 2}});
        AttributeFiles::write(database_->system(), files.bytes());
        database_->startAll();
        db_ = new CVeskBDSh(0);
        Capture out(STDOUT_FILENO);  // VA 7 is outside its record
        db_->LoadBD();
    }
    static void TearDownTestSuite() {
        delete db_;
        delete database_;
    }
    AccessTest() {
        for (const auto& table : FullDatabase::kTables)
            std::memset(bytes(table.index), 0, FullDatabase::count(table.type) * table.element);
        std::memset(bytes(85), 0, 25 * 24);
    }

    static std::uint8_t* bytes(int index) { return database_->bytes(index); }
    static CVeskBDSh& db() { return *db_; }
    /// Bytes of a variable's passport.
    static std::uint8_t* passport(int index, std::size_t size, int num) {
        return bytes(index) + (num - 1) * static_cast<std::ptrdiff_t>(size);
    }
    static std::uint8_t* va(int num) { return passport(10, 114, num); }

    static std::string read(SVariable var, bool current = true) {
        SVal val = number(type_int, 99);
        const BOOL ok = current ? db().getVal(var, &val) : db().getDat(var, &val);
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

  private:
    static inline FullDatabase* database_ = nullptr;
    static inline CVeskBDSh* db_ = nullptr;
};

void put(std::uint8_t* at, float value) {
    std::memcpy(at, &value, sizeof(value));
}
float floatAt(const std::uint8_t* at) {
    float value = 0;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

TEST_F(AccessTest, ReadsEveryStorage) {
    put(va(2) + 103, -1.5F);
    va(2)[108] = 0x80;
    va(2)[31] = 0xFF;
    std::memcpy(va(2) + 4, "\x92\x85-789012", 9);
    std::memcpy(passport(14, 48, 3) + 28, "seventeen letters", 17);
    std::memcpy(passport(19, 58, 1) + 53, "\xFE\xFF", 2);
    const struct {
        SVariable var;
        const char* want;
    } cases[] = {
        {{1, 2, 1}, "float -1.500000"},
        {{1, 1, 1}, "float 0.000000"},
        {{1, 2, 2}, "char 0"},
        {{1, 2, 3}, "char 1"},
        {{1, 2, 4}, "char 255"},
        {{1, 2, 5}, "str9 \x92\x85-789012"},
        {{1, 2, 6}, "none"},
        {{1, 2, 7}, "none"},
        {{1, 2, 8}, "refused"},
        {{3, 3, 11}, "str9 seventeen"},
        {{3, 3, 12}, "str17 seventeen letters"},
        {{5, 1, 1}, "short -2"},
        {{1, 0, 1}, "none"},
        {{1, 4, 1}, "none"},
        {{4, 1, 1}, "refused"},
        {{6, 1, 1}, "refused"},
        {{0, 1, 0}, "refused"},
        {{12, 1, 0}, "refused"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.var.type) + "." + std::to_string(c.var.num + 0) + ".A" +
                     std::to_string(c.var.num_atr + 0));
        EXPECT_EQ(read(c.var), c.want);
        EXPECT_EQ(read(c.var, false), c.want);
    }
    EXPECT_EQ(db().getVal({1, 1, 0}, nullptr), 0);
}

TEST_F(AccessTest, ReadsCurrentValueAndCurrentData) {
    put(bytes(11) + 4, 1.0F);
    put(bytes(12) + 4, 2.0F);
    put(passport(13, 204, 2) + 167, 3.0F);
    put(bytes(15) + 4, 4.0F);
    bytes(17)[1] = 5;
    bytes(18)[1] = 6;
    bytes(20)[1] = 7;
    bytes(21)[1] = 0xF8;
    put(bytes(22) + 4, 9.0F);
    std::memcpy(bytes(26) + 2, "\x00\x80", 2);
    bytes(27)[1] = 11;
    const char* const want[][2] = {{"float 1.000000", "float 2.000000"},
                                   {"float 3.000000", "float 3.000000"},
                                   {"float 4.000000", "float 4.000000"},
                                   {"char 5", "char 6"},
                                   {"char 7", "char 248"},
                                   {"float 9.000000", "float 9.000000"}};
    for (std::uint8_t type = 1; type <= 6; ++type) {
        EXPECT_EQ(read({type, 2, 0}, false), want[type - 1][0]);
        EXPECT_EQ(read({type, 2, 0}, true), want[type - 1][1]);
    }
    EXPECT_EQ(read({10, 2, 0}), "short -32768");
    EXPECT_EQ(read({11, 2, 0}), "char 11");
    EXPECT_EQ(read({11, 99, 0}), "none") << "no such variable";
    EXPECT_EQ(read({1, 0, 0}), "none");
}

TEST_F(AccessTest, WritesAttributeZeroIntoTheCurrentData) {
    EXPECT_EQ(db().setDat({1, 3, 0}, text(type_str9, "2.5")), 1);
    EXPECT_EQ(read({1, 3, 0}, false), "float 2.500000");
    EXPECT_EQ(read({1, 3, 0}, true), "float 0.000000") << "the value is the controller's";
    EXPECT_EQ(db().setDat({4, 2, 0}, text(type_str9, "12")), 1);
    EXPECT_EQ(bytes(17)[1], 12);
    EXPECT_EQ(db().setDat({4, 3, 0}, real(-1.5F)), 1);
    EXPECT_EQ(bytes(17)[2], 0);
    EXPECT_EQ(db().setDat({10, 1, 0}, real(2.9F)), 1);
    EXPECT_EQ(read({10, 1, 0}), "short 2");
    EXPECT_EQ(db().setDat({2, 1, 0}, number(type_short, -4)), 1);
    EXPECT_EQ(floatAt(passport(13, 204, 1) + 167), -4.0F);
    EXPECT_EQ(db().setDat({6, 2, 500}, number(type_uchar, 200)), 1) << "types without attributes";
    EXPECT_EQ(read({6, 2, 0}), "float 200.000000");
    bytes(17)[0] = 9;
    EXPECT_EQ(db().setDat({4, 1, 0}, SVal()), 1) << "a value without type writes zero";
    EXPECT_EQ(bytes(17)[0], 0);
    EXPECT_EQ(db().setDat({4, 0, 0}, number(type_char, 1)), 1) << "number 0 is taken and lost";
    EXPECT_EQ(db().setDat({4, 7, 0}, number(type_char, 1)), 0);
    EXPECT_EQ(db().setDat({0, 1, 0}, number(type_char, 1)), 0);
    EXPECT_EQ(db().setDat({12, 1, 0}, number(type_char, 1)), 0);
}

TEST_F(AccessTest, WritesEveryStorageAndNothingBesideIt) {
    std::memset(va(1), 0x55, 3 * 114);
    std::vector<std::uint8_t> want(va(1), va(1) + 3 * 114);
    const auto wanted = [&want](int offset) { return want.begin() + 114 + offset; };

    EXPECT_EQ(db().setDat({1, 2, 1}, number(type_int, 3)), 1);
    put(&*wanted(103), 3.0F);
    EXPECT_EQ(db().setDat({1, 2, 2}, number(type_int, 0)), 1);
    EXPECT_EQ(db().setDat({1, 2, 3}, text(type_str9, "2")), 1);
    *wanted(108) = 0xD4;
    EXPECT_EQ(db().setDat({1, 2, 4}, number(type_short, -1)), 1);
    *wanted(31) = 0xFF;
    EXPECT_EQ(db().setDat({1, 2, 5}, number(type_short, -1)), 1);
    std::memcpy(&*wanted(4), "-1\0\0\0\0\0\0\0", 9);
    for (const auto lost : std::initializer_list<std::uint16_t>{6, 7, 8, 0xFFFF})
        EXPECT_EQ(db().setDat({1, 2, lost}, number(type_int, 1)), 1) << lost;
    EXPECT_EQ(db().setDat({1, 0, 1}, number(type_int, 1)), 1);
    EXPECT_EQ(db().setDat({1, 4, 1}, number(type_int, 1)), 0);
    EXPECT_EQ(std::vector<std::uint8_t>(va(1), va(1) + 3 * 114), want);

    EXPECT_EQ(db().setDat({5, 7, 1}, real(-300)), 1);
    EXPECT_EQ(read({5, 7, 1}), "short -300");
    EXPECT_EQ(db().setDat({1, 1, 2}, real(0.5F)), 1) << "half is no bit";
    EXPECT_EQ(read({1, 1, 2}), "char 0");
}

TEST_F(AccessTest, WritesNineBytesOfTheLongText) {
    std::memcpy(passport(14, 48, 1) + 28, "seventeen letters", 17);
    EXPECT_EQ(db().setDat({3, 1, 12}, text(type_str17, "abcdefghijklmnopq")), 1);
    EXPECT_EQ(read({3, 1, 12}), "str17 abcdefghi letters");
}

TEST_F(AccessTest, ScalesCurrentDataOfAnalogInputs) {
    put(va(1) + 34, 0.0F);
    put(va(1) + 38, 50.0F);
    EXPECT_EQ(db().setDatScale({1, 1, 0}, number(type_short, 7), 2, 12), 1);
    EXPECT_EQ(floatAt(bytes(11)), 1.0F) << "(7 - 2) * (12 - 2) / (50 - 0) + 0";
    EXPECT_EQ(db().setDatScale({1, 2, 0}, real(1), 0, 1), 1) << "an empty scale";
    EXPECT_TRUE(std::isinf(floatAt(bytes(11) + 4)));
    EXPECT_EQ(db().setDatScale({1, 3, 1}, real(1), 0, 1), 1);
    EXPECT_EQ(db().setDatScale({2, 1, 0}, real(1), 0, 1), 1);
    EXPECT_EQ(floatAt(va(3) + 103) + floatAt(passport(13, 204, 1) + 167), 0.0F) << "not stored";
    EXPECT_EQ(db().setDatScale({1, 4, 0}, real(1), 0, 1), 0);
    EXPECT_EQ(db().setDatScale({12, 1, 0}, real(1), 0, 1), 0);
}

TEST_F(AccessTest, TellsChangesOfTheTypesAperture) {
    SApertures apertures;
    apertures.aperture_VA = 0.5F;
    apertures.aperture_HI = 10;
    db().LoadAperture(&apertures);
    db().LoadAperture(nullptr);
    SVal last;
    const auto changes = [&last](SVariable var) { return db().getChangeVal(var, &last, nullptr); };
    EXPECT_EQ(changes({1, 1, 0}), 1) << "another type than before";
    EXPECT_EQ(changes({1, 1, 0}), 0);
    put(bytes(12), 0.4F);
    EXPECT_EQ(changes({1, 1, 0}), 0) << "below the aperture";
    put(bytes(12), -0.5F);
    EXPECT_EQ(changes({1, 1, 0}), 1);
    EXPECT_EQ(static_cast<float>(last.value.fl), -0.5F);
    put(bytes(12), std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(changes({1, 1, 0}), 1) << "no number any more";
    EXPECT_EQ(changes({1, 1, 0}), 0);

    last = SVal();
    last.Set(real(0));
    put(bytes(15), 9.0F);
    EXPECT_EQ(changes({3, 1, 0}), 0);
    put(bytes(15), 10.0F);
    EXPECT_EQ(changes({3, 1, 0}), 1);
    last.Set(real(0));
    put(passport(13, 204, 1) + 167, 0.001F);
    EXPECT_EQ(changes({2, 1, 0}), 1) << "no aperture: any change";

    last.Set(number(type_char, 0));
    EXPECT_EQ(changes({4, 1, 0}), 0);
    bytes(18)[0] = 1;
    EXPECT_EQ(changes({4, 1, 0}), 1);
    EXPECT_EQ(changes({4, 1, 0}), 0);
    last.Set(text(type_str9, ""));
    std::memcpy(va(1) + 4, "TE-1", 4);
    EXPECT_EQ(changes({1, 1, 5}), 1);
    EXPECT_EQ(changes({1, 1, 5}), 0);
    EXPECT_EQ(changes({1, 1, 99}), 0) << "no such attribute";
    EXPECT_EQ(db().getChangeVal({1, 1, 0}, nullptr, nullptr), 0);
}

TEST_F(AccessTest, JudgesTwoAttributesOfAnalogOutputsByOthers) {
    SApertures apertures;
    apertures.aperture_AV = 2;
    db().LoadAperture(&apertures);
    for (const auto& [attribute, offset, related] :
         {std::tuple(21, 50, 127), std::tuple(39, 119, 123)}) {
        SCOPED_TRACE(attribute);
        const SVariable var{2, 1, static_cast<std::uint16_t>(attribute)};
        SVal last;
        SVal aux;
        EXPECT_EQ(db().getChangeVal(var, &last, &aux), 1);
        put(passport(13, 204, 1) + offset, 5.0F);
        EXPECT_EQ(db().getChangeVal(var, &last, &aux), 0) << "its own change does not count";
        put(passport(13, 204, 1) + related, 1.0F);
        EXPECT_EQ(db().getChangeVal(var, &last, &aux), 0) << "below the aperture";
        put(passport(13, 204, 1) + related, 2.0F);
        EXPECT_EQ(db().getChangeVal(var, &last, &aux), 1);
        EXPECT_EQ(static_cast<float>(last.value.fl), 5.0F);
        EXPECT_EQ(static_cast<float>(aux.value.fl), 2.0F);
    }
}

TEST_F(AccessTest, ReadsAllAtOnceAsTheSingleOperationsDo) {
    std::memset(bytes(85), 0x5A, 25 * 24);
    std::memset(bytes(12), 0x3C, 12);
    std::memset(va(1), 0x3D, 3 * 114);
    SReading all;
    for (const SVariable var : {SVariable{1, 2, 0},
                                {1, 2, 1},
                                {1, 2, 5},
                                {1, 2, 8},
                                {1, 4, 0},
                                {1, 0, 1},
                                {3, 5, 12},
                                {5, 7, 1},
                                {6, 1, 0},
                                {11, 2, 0},
                                {0, 1, 0},
                                {12, 1, 0}}) {
        SCOPED_TRACE(std::to_string(var.type) + "." + std::to_string(var.num + 0) + ".A" +
                     std::to_string(var.num_atr + 0));
        SVal val;
        db().getVal(var, &val);
        db().Read(var.type, var.num, var.num_atr, &all);  // over the former reading
        EXPECT_EQ(all.type_atr, db().getTypeAtr(var));
        EXPECT_EQ(all.val.type_val + 0, val.type_val + 0);
        EXPECT_EQ(std::string(all.val.value.str17, 17), std::string(val.value.str17, 17));
        EXPECT_EQ(all.time.tv_sec, db().getTime(var).tv_sec);
        EXPECT_EQ(all.time.tv_usec, db().getTime(var).tv_usec);
        EXPECT_EQ(all.quality, db().getQuality(var));
    }
}

TEST_F(AccessTest, TimesAndQualitiesAreThoseOfTheVariable) {
    // The table starts with 3 VA, 4 AV and 5 HI.
    constexpr int kFirstDI = 12;
    std::uint8_t* const record = bytes(85) + kFirstDI * 24;
    record[0] = 1;
    record[8] = 2;
    record[16] = 0xC0;
    record[20] = 4;
    EXPECT_EQ(db().getTime({4, 1, 77}).tv_sec, 1);
    EXPECT_EQ(db().getTime({4, 1, 0}).tv_usec, 2);
    EXPECT_EQ(db().getQuality({4, 1, 0}), 0xC0U);
    EXPECT_EQ(db().getFlags({4, 1, 0}), 4U);
    EXPECT_EQ(db().setTime({1, 1, 0}, {9, 8}), 0);
    EXPECT_EQ(db().setQuality({1, 1, 0}, 7), 0);
    EXPECT_EQ(db().setFlags({1, 1, 0}, 6), 0);
    EXPECT_EQ(bytes(85)[0] * 1000 + bytes(85)[8] * 100 + bytes(85)[16] * 10 + bytes(85)[20], 9876);

    TimeQuality* const asymmetric = db().getTQFPointer({1, 1, 0});
    ASSERT_NE(asymmetric, nullptr);
    asymmetric->Flags = 0x55;
    EXPECT_EQ(bytes(85)[(3 + 1) * 24 + 20], 0x55) << "AV's second record";
    EXPECT_EQ(db().getTQFPointer({5, 1, 0}), nullptr);

    for (const SVariable outside :
         {SVariable{0, 1, 0}, {1, 0, 0}, {1, 4, 0}, {6, 1, 0}, {11, 1, 0}}) {
        EXPECT_EQ(db().getTime(outside).tv_sec, 0);
        EXPECT_EQ(db().getQuality(outside), 0U);
        EXPECT_EQ(db().getFlags(outside), 0U);
        EXPECT_EQ(db().setTime(outside, {1, 1}), -1);
        EXPECT_EQ(db().setQuality(outside, 1), -1);
        EXPECT_EQ(db().setFlags(outside, 1), -1);
    }
}

}  // namespace
