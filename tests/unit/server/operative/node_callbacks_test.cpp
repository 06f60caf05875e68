#include "../server_fixture.h"
#include "server/variables/VariableTypeVA.h"

TEST(NodeCallbacks, NeedAContextAndAValue) {
    UA_DataValue value{};
    value.status = 5;
    EXPECT_EQ(
        UAServer::readNodeValue(nullptr, nullptr, nullptr, nullptr, nullptr, true, nullptr, &value),
        UA_STATUSCODE_BADINTERNALERROR);
    EXPECT_FALSE(value.hasValue || value.hasStatus || value.hasSourceTimestamp);
    EXPECT_EQ(value.status, 5U) << "untouched";
    EXPECT_EQ(
        UAServer::writeNodeValue(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &value),
        UA_STATUSCODE_BADINTERNALERROR);
    EXPECT_EQ(UAServer().createUAItems(nullptr, 1, "parent", "", "main", 0, {}),
              UA_STATUSCODE_BADINTERNALERROR);

    VariableTypeVA variable;
    VarContext unreadable{&variable, 9999};
    EXPECT_EQ(UAServer::readNodeValue(nullptr, nullptr, nullptr, nullptr, &unreadable, false,
                                      nullptr, &value),
              UA_STATUSCODE_GOOD);
    EXPECT_TRUE(value.hasValue && value.hasStatus && value.hasSourceTimestamp)
        << "whatever the database said";
    EXPECT_FALSE(value.hasServerTimestamp || value.hasSourcePicoseconds);
    UA_DataValue_clear(&value);
}
