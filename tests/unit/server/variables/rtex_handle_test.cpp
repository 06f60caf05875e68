#include "server/variables/RTEXHandle.h"

#include <gtest/gtest.h>
#include <open62541/types_generated.h>

#include <optional>

#include "server/variables/VariableTypeVA.h"
#include "support/controller_database.h"

using enum ControllerDatabase::Area;
using enum VariableType;

namespace {

class Exchange : public testing::Test {
  protected:
    Exchange() { database.clear(); }

    /// Nothing when it is no scalar of the type. Keeps status and time.
    template <class T>
    std::optional<T> read(VariableType kind, int tag, int attribute, std::size_t type) {
        UA_Variant value;
        UA_Variant_init(&value);
        RTEXHandle::getValueByAttrNumber(attribute, kind, tag, value, status, time);
        std::optional<T> scalar;
        if (UA_Variant_hasScalarType(&value, &UA_TYPES[type]))
            scalar = *static_cast<const T*>(value.data);
        UA_Variant_clear(&value);
        return scalar;
    }
    std::optional<float> readFloat(VariableType kind, int tag, int attribute) {
        return read<float>(kind, tag, attribute, UA_TYPES_FLOAT);
    }

    static void write(int tag, int attribute, float scalar) {
        UA_Variant value;
        UA_Variant_init(&value);
        UA_Variant_setScalar(&value, &scalar, &UA_TYPES[UA_TYPES_FLOAT]);
        RTEXHandle::setValueByAttrNumber(attribute, VA, tag, value);
    }

    VariableTypeVA loadsTheDatabase;
    unsigned status = 1;
    long time = 1;
};

}  // namespace

// What a client can reach is held against a whole server in tests/system; here is what it cannot.
TEST_F(Exchange, ReadsAttribute0AndNothingOutsideItsTables) {
    database.put(passport, DB_VA, 2, 34, -2.5F);
    database.put(currentValue, DB_VA, 2, 0, 7.5F);
    database.put(currentData, DB_VA, 2, 0, 8.5F);
    database.put(passport, DB_AV, 1, 167, 9.5F);
    database.put(currentValue, DB_HI, 3, 0, 10.5F);
    database.put<std::uint8_t>(currentValue, DB_DI, 1, 0, 0xFF);
    database.put<std::uint8_t>(currentValue, DB_DO, 2, 0, 1);
    database.setQuality(DB_VA, 3, 0xC0);
    database.setQuality(DB_AV, 1, 0xC0);
    database.setTime(DB_AV, 1, 1, 0);

    EXPECT_EQ(readFloat(VA, 2, 0), 7.5F) << "the current value, not the data";
    EXPECT_EQ(readFloat(AV, 1, 0), 9.5F) << "it lies in the record";
    EXPECT_EQ(readFloat(RV, 3, 0), 10.5F);
    EXPECT_EQ(read<UA_SByte>(VD, 1, 0, UA_TYPES_SBYTE), -1);
    EXPECT_EQ(read<UA_SByte>(DV, 2, 0, UA_TYPES_SBYTE), 1);
    EXPECT_EQ(readFloat(VA, 4, 11), 0.0F) << "no such variable";
    EXPECT_EQ(readFloat(VA, 0, 0), 0.0F) << "variable 0";
    EXPECT_EQ(readFloat(VA, 1, 51), std::nullopt) << "an attribute that is not described";
    readFloat(VA, 3, 9999);
    EXPECT_EQ(status, UA_STATUSCODE_GOOD) << "whatever the attribute";
    readFloat(VA, 4, 0);
    EXPECT_EQ(status, UA_STATUSCODE_BAD) << "the next type's record is not ours";
    EXPECT_EQ(time, 116'444'736'000'000'000);
}

TEST_F(Exchange, IgnoresWhatTheDatabaseCannotTake) {
    database.put(passport, DB_VA, 1, 34, 1.0F);
    write(4, 11, 5.0F);
    write(0, 11, 5.0F);
    write(1, 40, 5.0F);
    UA_Variant value;
    UA_Variant_init(&value);
    RTEXHandle::setValueByAttrNumber(11, VA, 1, value);
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 34), 1.0F);
    write(1, 11, 5.0F);
    EXPECT_EQ(database.get<float>(passport, DB_VA, 1, 34), 5.0F);
}
