#include "server/history/HistoryBackend.h"

#include <gtest/gtest.h>

#include "server/ServerState.h"
#include "server/config/IniConfigManager.h"
#include "server/history/HistoryCapabilities.h"
#include "server/operative/UaView.h"

static UA_StatusCode readRaw(const UA_NodeId& node, UA_HistoryData* result) {
    const UA_HistoryDataBackend backend = UA_HistoryDataBackend_RTEX();
    UA_ByteString continuation = UA_String_fromChars("of an earlier read");
    const UA_StatusCode status = backend.getHistoryData(
        nullptr, nullptr, nullptr, &backend, 0, 0, &node, 1, 1, true, UA_TIMESTAMPSTORETURN_BOTH,
        {}, false, nullptr, &continuation, result);
    EXPECT_TRUE(result == nullptr || continuation.data == nullptr);
    UA_ByteString_clear(&continuation);
    return status;
}

TEST(HistoryBackend, AnswersWithNothingWhenTheArchiveFails) {
    const UA_NodeId numeric = UA_NODEID_NUMERIC(1, 7);
    const UA_NodeId unknown = uaNodeIdView(1, "R1_P1.VA_1");
    EXPECT_EQ(readRaw(unknown, nullptr), UA_STATUSCODE_BADINVALIDARGUMENT);
    for (const UA_NodeId& node : {numeric, unknown}) {
        UA_HistoryData result{};
        result.dataValuesSize = 5;
        EXPECT_EQ(readRaw(node, &result), UA_STATUSCODE_GOOD);
        EXPECT_EQ(result.dataValuesSize, 0U);
        EXPECT_NE(result.dataValues, nullptr) << "an empty array, not a missing one";
    }
}

TEST(HistoryBackend, RefusesAllButReadingAndPromisesWhatItDoesNotLookAt) {
    const UA_HistoryDataBackend backend = UA_HistoryDataBackend_RTEX();
    EXPECT_EQ(backend.context, &RtexContext);
    EXPECT_EQ(
        backend.serverSetHistoryData(nullptr, nullptr, nullptr, nullptr, nullptr, true, nullptr),
        0x80720000U);
    EXPECT_EQ(backend.getDateTimeMatch(nullptr, nullptr, nullptr, nullptr, nullptr, 0, MATCH_EQUAL),
              0x80720000U);
    EXPECT_TRUE(backend.boundSupported(nullptr, nullptr, nullptr, nullptr, nullptr));
    for (const int setting : {0, 4, 5, 100}) {
        EXPECT_EQ(backend.timestampsToReturnSupported(nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      static_cast<UA_TimestampsToReturn>(setting)),
                  setting < 5);
    }
    EXPECT_EQ(PointCountForTrends, 100) << "nothing was configured when it was asked for";
}

/// A library may lack the nodes, which this one brings.
TEST(HistoryCapabilities, AreAddedWhereTheyAreMissing) {
    UAServer server;
    const auto told = [&](UA_UInt32 id) {
        UA_Variant value;
        UA_Variant_init(&value);
        const UA_StatusCode status =
            UA_Server_readValue(server.instance(), UA_NODEID_NUMERIC(0, id), &value);
        UA_UInt32 number = 0;
        if (status == UA_STATUSCODE_GOOD && value.data != nullptr) {
            number = value.type == &UA_TYPES[UA_TYPES_BOOLEAN]
                         ? *static_cast<UA_Boolean*>(value.data)
                         : *static_cast<UA_UInt32*>(value.data);
        }
        UA_Variant_clear(&value);
        return number;
    };
    for (const UA_UInt32 max : {1000U, 7U}) {
        EXPECT_EQ(announceHistory(server.instance(), max), UA_STATUSCODE_GOOD);
        EXPECT_EQ(told(11193), 1U);
        EXPECT_EQ(told(11273), max);
        for (const UA_UInt32 id : {11193U, 11273U, 11192U})
            (void)UA_Server_deleteNode(server.instance(), UA_NODEID_NUMERIC(0, id), true);
    }
}
