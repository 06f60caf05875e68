#include "../server_fixture.h"

namespace {

class NodeCallbacks : public testing::Test {
  protected:
    NodeCallbacks() {
        database.clear();
        variable.setIdTag(2);
    }
    ~NodeCallbacks() override { UA_DataValue_clear(&value); }

    UA_StatusCode read(VarContext* context) {
        UA_DataValue_clear(&value);
        return UAServer::readNodeValue(nullptr, nullptr, nullptr, nullptr, context, false, nullptr,
                                       &value);
    }
    UA_StatusCode write(VarContext* context) const {
        return UAServer::writeNodeValue(nullptr, nullptr, nullptr, nullptr, context, nullptr,
                                        &value);
    }

    VariableTypeVA variable;
    VarContext current{&variable, 0};
    VarContext lowEnd{&variable, 11};
    UA_DataValue value{};
};

}  // namespace

TEST_F(NodeCallbacks, ReadTheAttributeOfTheirNode) {
    database.put(ControllerDatabase::Area::currentValue, DB_VA, 2, 0, 1.5F);
    database.put(ControllerDatabase::Area::passport, DB_VA, 2, 34, 2.5F);
    database.setTime(DB_VA, 2, 1, 0);
    for (const std::uint32_t quality : {0xC0U, 0x00U}) {
        database.setQuality(DB_VA, 2, quality);
        for (VarContext* context : {&current, &lowEnd}) {
            EXPECT_EQ(read(context), UA_STATUSCODE_GOOD) << "bad data are no bad read";
            EXPECT_TRUE(value.hasValue && value.hasStatus && value.hasSourceTimestamp);
            EXPECT_FALSE(value.hasServerTimestamp || value.hasSourcePicoseconds);
            EXPECT_EQ(value.status, quality != 0 ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BAD);
            EXPECT_EQ(value.sourceTimestamp, 116'444'736'010'000'000);
            ASSERT_TRUE(UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_FLOAT]));
            EXPECT_EQ(*static_cast<float*>(value.value.data), context == &current ? 1.5F : 2.5F);
        }
    }
    VarContext unreadable{&variable, 9999};
    EXPECT_EQ(read(&unreadable), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(value.hasValue && value.hasStatus && value.hasSourceTimestamp)
        << "whatever the database said";
}

TEST_F(NodeCallbacks, NeedAContext) {
    value.status = 5;
    EXPECT_EQ(
        UAServer::readNodeValue(nullptr, nullptr, nullptr, nullptr, nullptr, true, nullptr, &value),
        UA_STATUSCODE_BADINTERNALERROR);
    EXPECT_FALSE(value.hasValue || value.hasStatus || value.hasSourceTimestamp);
    EXPECT_EQ(value.status, 5U) << "untouched";
    EXPECT_EQ(write(nullptr), UA_STATUSCODE_BADINTERNALERROR);
}

TEST_F(NodeCallbacks, WriteValuesOnly) {
    const auto stored = [] {
        return database.get<float>(ControllerDatabase::Area::passport, DB_VA, 2, 34);
    };
    float number = 3.5F;
    UA_Variant_setScalarCopy(&value.value, &number, &UA_TYPES[UA_TYPES_FLOAT]);
    value.hasStatus = true;
    EXPECT_EQ(write(&lowEnd), UA_STATUSCODE_BADTYPEMISMATCH) << "has a value only by its bytes";
    EXPECT_EQ(stored(), 0.0F);
    value.hasValue = true;
    value.status = UA_STATUSCODE_BAD;
    EXPECT_EQ(write(&lowEnd), UA_STATUSCODE_GOOD);
    EXPECT_EQ(stored(), 3.5F) << "the client's status does not matter";
    UA_DataValue_clear(&value);
    value.hasValue = true;
    EXPECT_EQ(write(&lowEnd), UA_STATUSCODE_GOOD) << "what cannot be stored is lost silently";
    EXPECT_EQ(stored(), 3.5F);
}
