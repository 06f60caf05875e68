#include "server/variables/RTEXHandle.h"

#include <gtest/gtest.h>
#include <open62541/types_generated.h>

#include <sstream>

#include "server/variables/VariableTypeVA.h"
#include "support/controller_database.h"

using enum ControllerDatabase::Area;

namespace {

struct ReadResult {
    std::string value;  // "Float 1.5", "String ABC", "empty"
    unsigned status = 1;
    long time = 1;
};

ReadResult read(VariableType kind, int tag, int attribute) {
    UA_Variant value;
    UA_Variant_init(&value);
    ReadResult result;
    RTEXHandle::getValueByAttrNumber(attribute, kind, tag, value, result.status, result.time);
    std::ostringstream text;
    if (UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_SBYTE]))
        text << "SByte " << +*static_cast<const UA_SByte*>(value.data);
    if (UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_FLOAT]))
        text << "Float " << *static_cast<const UA_Float*>(value.data);
    if (UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_STRING])) {
        const auto& string = *static_cast<const UA_String*>(value.data);
        text << "String " << std::string(reinterpret_cast<const char*>(string.data), string.length);
    }
    result.value = UA_Variant_isEmpty(&value) ? "empty" : text.str();
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

class Exchange : public testing::Test {
  protected:
    Exchange() { database.clear(); }

    VariableTypeVA loadsTheDatabase;
};

}  // namespace

using enum VariableType;

// What a client can reach is held against a whole server in tests/system; here is what it cannot.
TEST_F(Exchange, ReadsAttribute0AndNothingOutsideItsTables) {
    database.put(passport, DB_VA, 2, 34, -2.5F);
    database.put(currentValue, DB_VA, 2, 0, 7.5F);
    database.put(currentData, DB_VA, 2, 0, 8.5F);
    database.put(passport, DB_AV, 1, 167, 9.5F);
    database.put(currentValue, DB_HI, 3, 0, 10.5F);
    database.put<std::uint8_t>(currentValue, DB_DI, 1, 0, 0xFF);
    database.put<std::uint8_t>(currentValue, DB_DO, 2, 0, 1);
    database.putText(DB_HI, 2, 28, "0123456789ABCDEF");
    for (const int num : {1, 2, 3})
        database.setQuality(DB_VA, num, 0xC0);
    database.setQuality(DB_AV, 1, 0xC0);
    database.setTime(DB_AV, 1, 1, 0);

    const struct {
        const char* why;
        VariableType kind;
        int tag, attribute;
        const char* value;
    } cases[] = {
        {"the current value of VA, not the data", VA, 2, 0, "Float 7.5"},
        {"of AV it lies in the record", AV, 1, 0, "Float 9.5"},
        {"of RV", RV, 3, 0, "Float 10.5"},
        {"of VD", VD, 1, 0, "SByte -1"},
        {"of DV", DV, 2, 0, "SByte 1"},
        {"a text of 17 bytes is cut to 9", RV, 2, 12, "String 012345678"},
        {"an unknown storage leaves the variant alone", VA, 2, 40, "empty"},
        {"no such variable gives zeros", VA, 4, 11, "Float 0"},
        {"variable 0 gives zeros", VA, 0, 0, "Float 0"},
        {"no such text either", VD, 3, 5, "String "},
        {"an attribute that is not described", VA, 1, 51, "empty"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(read(c.kind, c.tag, c.attribute).value, c.value);
    }
    EXPECT_EQ(read(VA, 3, 9999).status, UA_STATUSCODE_GOOD) << "whatever the attribute";
    EXPECT_EQ(read(VA, 4, 0).status, UA_STATUSCODE_BAD) << "the next type's record is not ours";
    EXPECT_EQ(read(VA, 4, 0).time, 116'444'736'000'000'000);
}

TEST_F(Exchange, IgnoresWhatTheDatabaseCannotTake) {
    database.put(passport, DB_VA, 1, 34, 1.0F);
    write(VA, 1, 11, UA_TYPES_DOUBLE, 5.0);
    write(VA, 4, 11, UA_TYPES_FLOAT, 5.0F);
    write(VA, 0, 11, UA_TYPES_FLOAT, 5.0F);
    write(VA, 1, 40, UA_TYPES_FLOAT, 5.0F);
    UA_Variant value;
    UA_Variant_init(&value);
    RTEXHandle::setValueByAttrNumber(11, VA, 1, value);
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 34), 1.0F);
    write(VA, 1, 11, UA_TYPES_FLOAT, 5.0F);
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 34), 5.0F);
}
