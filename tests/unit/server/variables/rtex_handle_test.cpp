#include "server/variables/RTEXHandle.h"

#include <gtest/gtest.h>
#include <open62541/types_generated.h>

#include <sstream>

#include "server/variables/VariableTypeVA.h"
#include "support/controller_database.h"

using enum ControllerDatabase::Area;

namespace {

struct ReadResult {
    std::string value;
    unsigned status;
    long time;
};

/// "Float 1.5", "String ABC", "empty".
std::string shown(const UA_Variant& value) {
    std::ostringstream text;
    const auto show = [&]<class T>(std::size_t type, const char* name, T) {
        if (UA_Variant_hasScalarType(&value, &UA_TYPES[type]))
            text << name << ' ' << +*static_cast<const T*>(value.data);
    };
    show(UA_TYPES_SBYTE, "SByte", UA_SByte{});
    show(UA_TYPES_BYTE, "Byte", UA_Byte{});
    show(UA_TYPES_INT16, "Int16", UA_Int16{});
    show(UA_TYPES_FLOAT, "Float", UA_Float{});
    if (UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_STRING])) {
        const auto& string = *static_cast<const UA_String*>(value.data);
        text << "String " << std::string(reinterpret_cast<const char*>(string.data), string.length);
    }
    return UA_Variant_isEmpty(&value) ? "empty" : text.str();
}

ReadResult read(VariableType kind, int tag, int attribute) {
    UA_Variant value;
    UA_Variant_init(&value);
    ReadResult result{"", 1, 1};
    RTEXHandle::getValueByAttrNumber(attribute, kind, tag, value, result.status, result.time);
    result.value = shown(value);
    UA_Variant_clear(&value);
    return result;
}

template <class T>
void write(VariableType kind, int tag, int attribute, std::size_t type, T scalar) {
    UA_Variant value;
    UA_Variant_init(&value);
    UA_Variant_setScalar(&value, &scalar, &UA_TYPES[type]);
    RTEXHandle::setValueByAttrNumber(attribute, kind, tag, value);
}

void writeText(VariableType kind, int tag, int attribute, std::string utf8) {
    const UA_String text{utf8.size(), reinterpret_cast<UA_Byte*>(utf8.data())};
    write(kind, tag, attribute, UA_TYPES_STRING, text);
}

class Exchange : public testing::Test {
  protected:
    Exchange() { database.clear(); }

    VariableTypeVA loadsTheDatabase;
};

}  // namespace

using enum VariableType;

TEST_F(Exchange, ReadsEveryStorageKind) {
    // Neighbours are filled, so that a field read too long or one byte off shows.
    database.putText(DB_VA, 2, 0, std::string(114, '\xAA'));
    database.put<std::uint8_t>(passport, DB_VA, 2, 0, 0xFE);
    database.putText(DB_VA, 2, 4, "T1");
    database.put<char>(passport, DB_VA, 2, 6, '\0');
    database.put(passport, DB_VA, 2, 34, -2.5F);
    database.put<std::int16_t>(passport, DB_VA, 2, 83, 300);
    database.put<std::uint8_t>(passport, DB_VA, 2, 108, 0x80);
    database.put(currentValue, DB_VA, 2, 0, 7.5F);
    database.put(currentData, DB_VA, 2, 0, 8.5F);
    database.put(passport, DB_AV, 1, 167, 9.5F);
    database.put(currentValue, DB_HI, 3, 0, 10.5F);
    database.put<std::uint8_t>(currentValue, DB_DI, 1, 0, 0xFF);
    database.put<std::uint8_t>(currentValue, DB_DO, 2, 0, 1);
    database.put<std::uint8_t>(passport, DB_DO, 2, 43, 1);
    database.putText(DB_AV, 2, 4,
                     "\x8F\xB0\xE0\xF1"
                     "56789ABC");
    database.putText(DB_HI, 2, 28, "0123456789ABCDEF");

    const struct {
        const char* why;
        VariableType kind;
        int tag, attribute;
        const char* value;
    } cases[] = {
        {"a byte is signed for clients", VA, 2, 1, "SByte -2"},
        {"a text ends at its NUL", VA, 2, 5, "String T1"},
        {"an empty text is one", VA, 1, 5, "String "},
        {"a text that fills its field is converted from CP866", AV, 2, 5, "String П░рё56789"},
        {"a text of 17 bytes is cut to 9", RV, 2, 12, "String 012345678"},
        {"a float", VA, 2, 11, "Float -2.5"},
        {"of 16 bits only the low byte, 300 as 44", VA, 2, 24, "Int16 44"},
        {"bit 0 is off", VA, 2, 31, "SByte 0"},
        {"bit 7 is on", VA, 2, 38, "SByte 1"},
        {"an unknown storage leaves the variant alone", VA, 2, 40, "empty"},
        {"attribute 0 of VA is the current value, not the data", VA, 2, 0, "Float 7.5"},
        {"attribute 0 of AV lies in its record", AV, 1, 0, "Float 9.5"},
        {"attribute 0 of RV", RV, 3, 0, "Float 10.5"},
        {"attribute 0 of VD", VD, 1, 0, "SByte -1"},
        {"attribute 0 of DV", DV, 2, 0, "SByte 1"},
        {"the attribute that stands for it is read itself", VA, 2, 29, "Float -3.03165e-13"},
        {"the same of DV", DV, 2, 20, "SByte 1"},
        {"no such variable gives zeros", VA, 4, 11, "Float 0"},
        {"variable 0 gives zeros", VA, 0, 0, "Float 0"},
        {"no such text either", VD, 3, 5, "String "},
        {"an attribute that is not described", VA, 1, 51, "empty"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(read(c.kind, c.tag, c.attribute).value, c.value);
    }
}

TEST_F(Exchange, ReadsQualityAndTimeOfTheVariableWhateverTheAttribute) {
    database.setQuality(DB_VA, 3, 0xC0);
    database.setQuality(DB_AV, 1, 0x80);
    database.setTime(DB_AV, 1, 1'700'000'000, 250'000);
    database.setQuality(DB_DO, 2, 0x40);
    for (const int attribute : {0, 1, 21, 107, 9999}) {
        const ReadResult result = read(AV, 1, attribute);
        EXPECT_EQ(result.status, UA_STATUSCODE_UNCERTAIN);
        EXPECT_EQ(result.time, 116'444'736'000'000'000 + 17'000'000'002'500'000);
    }
    EXPECT_EQ(read(VA, 3, 0).status, UA_STATUSCODE_GOOD);
    EXPECT_EQ(read(VA, 2, 0).status, UA_STATUSCODE_BAD);
    EXPECT_EQ(read(DV, 2, 0).status, UA_STATUSCODE_UNCERTAIN) << "the last record";
    EXPECT_EQ(read(VA, 4, 0).status, UA_STATUSCODE_BAD) << "the next type's record is not ours";
    EXPECT_EQ(read(VA, 4, 0).time, 116'444'736'000'000'000);
}

TEST_F(Exchange, WritesEveryNumberThatTheDatabaseTakes) {
    const auto written = [](std::size_t type, auto scalar) {
        write(VA, 1, 11, type, scalar);
        return database.get<float>(passport, DB_VA, 1, 34);
    };
    EXPECT_EQ(written(UA_TYPES_SBYTE, UA_SByte{-1}), 255.0F) << "a byte counts as unsigned";
    EXPECT_EQ(written(UA_TYPES_BYTE, UA_Byte{200}), 200.0F);
    EXPECT_EQ(written(UA_TYPES_INT16, UA_Int16{-300}), -300.0F);
    EXPECT_EQ(written(UA_TYPES_UINT16, UA_UInt16{65'535}), 65'535.0F) << "never negative";
    EXPECT_EQ(written(UA_TYPES_INT32, UA_Int32{-70'000}), -70'000.0F);
    EXPECT_EQ(written(UA_TYPES_UINT32, UA_UInt32{4'000'000'000}), 4'000'000'000.0F);
    EXPECT_EQ(written(UA_TYPES_FLOAT, UA_Float{-2.5F}), -2.5F);

    write(VA, 1, 24, UA_TYPES_INT16, UA_Int16{-300});
    EXPECT_EQ(database.get<std::int16_t>(passport, DB_VA, 1, 83), -300);
    write(VA, 1, 30, UA_TYPES_FLOAT, 2.9F);
    EXPECT_EQ(database.get<char>(passport, DB_VA, 1, 107), 2) << "cut, not rounded";
    database.put<std::uint8_t>(passport, DB_VA, 1, 108, 0x01);
    write(VA, 1, 38, UA_TYPES_INT32, UA_Int32{5});
    EXPECT_EQ(database.get<std::uint8_t>(passport, DB_VA, 1, 108), 0x81) << "one bit of its byte";
    write(VA, 1, 5, UA_TYPES_INT16, UA_Int16{-1});
    EXPECT_EQ(read(VA, 1, 5).value, "String -1") << "as digits";
    EXPECT_EQ(database.get<float>(passport, DB_VA, 2, 34), 0.0F) << "another tag";
}

TEST_F(Exchange, WritesNumbersForTheCurrentValueToTheCurrentData) {
    write(VA, 2, 29, UA_TYPES_FLOAT, 1.5F);
    EXPECT_EQ(database.get<float>(currentData, DB_VA, 2, 0), 1.5F);
    EXPECT_EQ(database.get<float>(currentValue, DB_VA, 2, 0), 0.0F) << "the controller's to make";
    EXPECT_EQ(database.get<float>(passport, DB_VA, 2, 103), 0.0F);

    write(RV, 1, 8, UA_TYPES_FLOAT, 2.5F);
    EXPECT_EQ(database.get<float>(currentValue, DB_HI, 1, 0), 2.5F) << "one array is both";
    EXPECT_EQ(database.get<float>(passport, DB_HI, 1, 37), 0.0F);

    write<UA_Int16>(VD, 2, 27, UA_TYPES_INT16, 257);
    EXPECT_EQ(database.get<char>(currentData, DB_DI, 2, 0), 1);
    EXPECT_EQ(database.get<char>(passport, DB_DI, 2, 48), 0);

    write<UA_SByte>(DV, 1, 20, UA_TYPES_SBYTE, 1);
    EXPECT_EQ(database.get<char>(currentData, DB_DO, 1, 0), 1);
    EXPECT_EQ(database.get<char>(passport, DB_DO, 1, 43), 0);

    write(AV, 1, 21, UA_TYPES_FLOAT, 3.5F);
    write(AV, 1, 39, UA_TYPES_FLOAT, 4.5F);
    EXPECT_EQ(database.get<float>(passport, DB_AV, 1, 50), 3.5F) << "AV has no such attribute";
    EXPECT_EQ(database.get<float>(passport, DB_AV, 1, 119), 4.5F);
    EXPECT_EQ(database.get<float>(passport, DB_AV, 1, 167), 0.0F);
}

TEST_F(Exchange, WritesTextsAsBytesOfCp866) {
    database.putText(DB_VA, 1, 4, std::string(10, 'x'));
    writeText(VA, 1, 5, "П1");
    EXPECT_EQ(database.get<std::uint64_t>(passport, DB_VA, 1, 4), 0x318FU) << "zero-filled";
    EXPECT_EQ(database.get<char>(passport, DB_VA, 1, 12), 0);
    EXPECT_EQ(database.get<char>(passport, DB_VA, 1, 13), 'x') << "the next field";
    writeText(VA, 1, 5, "Котёл 1234");
    EXPECT_EQ(read(VA, 1, 5).value, "String Котёл 123") << "9 bytes of CP866, not of UTF-8";
    writeText(VA, 1, 5, "");
    EXPECT_EQ(read(VA, 1, 5).value, "String ");
    database.putText(DB_HI, 2, 28, std::string(17, 'x'));
    writeText(RV, 2, 12, "0123456789ABCDEF");
    EXPECT_EQ(database.get<std::uint16_t>(passport, DB_HI, 2, 36), 0x7838) << "9 bytes of 17";

    writeText(VA, 1, 11, std::string("\0\0\x20\x40", 4));
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 34), 2.5F) << "bytes, not digits";
    writeText(VA, 1, 29, std::string("\0\0\x20\x40", 4));
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 103), 2.5F) << "to the attribute itself";
    EXPECT_EQ(database.get<float>(currentData, DB_VA, 1, 0), 0.0F);
    writeText(VA, 1, 40, "12");
    EXPECT_EQ(read(VA, 1, 40).value, "empty") << "no storage, nothing to write to";
}

TEST_F(Exchange, IgnoresWhatTheDatabaseCannotTake) {
    database.put(passport, DB_VA, 1, 34, 1.0F);
    write(VA, 1, 11, UA_TYPES_DOUBLE, 5.0);
    write<UA_Int64>(VA, 1, 11, UA_TYPES_INT64, 5);
    write<UA_Boolean>(VA, 1, 11, UA_TYPES_BOOLEAN, true);
    write(VA, 4, 11, UA_TYPES_FLOAT, 5.0F);

    UA_Variant value;
    UA_Variant_init(&value);
    RTEXHandle::setValueByAttrNumber(11, VA, 1, value);
    for (const int type : {UA_TYPES_FLOAT, UA_TYPES_STRING}) {
        UA_Variant_setArray(&value, UA_EMPTY_ARRAY_SENTINEL, 0, &UA_TYPES[type]);
        RTEXHandle::setValueByAttrNumber(11, VA, 1, value);
    }
    float one[] = {5.0F};
    UA_Variant_setArray(&value, one, 1, &UA_TYPES[UA_TYPES_FLOAT]);
    RTEXHandle::setValueByAttrNumber(11, VA, 1, value);
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 34), 1.0F);
}
