#include "server/history/HistoryBackend.h"

#include "server/ServerState.h"
#include "server/history/HistoryAccess.h"
#include "server/history/HistoryCapabilities.h"
#include "server/history/RTEXContext.h"
#include "server/opcua/UaHandle.h"
#include "tests/support/basics.h"

TEST(HistoryBackend, RefusesAllButReadingAndPromisesWhatItDoesNotLookAt) {
    const UA_HistoryDataBackend backend = UA_HistoryDataBackend_RTEX();
    const UA_NodeId unknown = UA_NODEID_NUMERIC(1, 7);
    UA_HistoryData result{};
    UA_ByteString continuation = UA_String_fromChars("of an earlier read");
    constexpr std::nullptr_t kNo = nullptr;
    for (UA_HistoryData* const wanted : {static_cast<UA_HistoryData*>(kNo), &result}) {
        EXPECT_EQ(backend.getHistoryData(kNo, kNo, kNo, &backend, 0, 0, &unknown, 1, 1, true,
                                         UA_TIMESTAMPSTORETURN_BOTH, {}, false, kNo, &continuation,
                                         wanted),
                  wanted == nullptr ? UA_STATUSCODE_BADINVALIDARGUMENT : UA_STATUSCODE_GOOD);
    }
    EXPECT_EQ(continuation.data, nullptr);
    EXPECT_NE(result.dataValues, nullptr) << "an empty array, not a missing one";
    EXPECT_EQ(backend.context, &RtexContext);
    EXPECT_EQ(backend.serverSetHistoryData(kNo, kNo, kNo, kNo, kNo, true, kNo), 0x80720000U);
    EXPECT_EQ(backend.getDateTimeMatch(kNo, kNo, kNo, kNo, kNo, 0, MATCH_EQUAL), 0x80720000U);
    EXPECT_TRUE(backend.boundSupported(kNo, kNo, kNo, kNo, kNo));
    for (const int setting : {0, 4, 5, 100}) {
        const auto asked = static_cast<UA_TimestampsToReturn>(setting);
        EXPECT_EQ(backend.timestampsToReturnSupported(kNo, kNo, kNo, kNo, kNo, asked), setting < 5);
    }
    EXPECT_EQ(PointCountForTrends, 100) << "nothing was configured when it was asked for";
}

/// The library would ask for the time and search all pens at every write of any variable. Its
/// history database keeps the gathering first in its context.
TEST(HistoryAccess, SparesWritesTheSearchForTheirPen) {
    UAServer server;
    HistoryAccess().install(server.instance());
    const auto& database = UA_Server_getConfig(server.instance())->historyDatabase;
    const auto* gathering = static_cast<const UA_HistoryDataGathering*>(database.context);
    EXPECT_EQ(database.setValue, nullptr);
    EXPECT_NE(gathering->registerNodeId, nullptr);
}

/// A library may lack the nodes, which this one brings.
TEST(HistoryCapabilities, AreAddedWhereTheyAreMissing) {
    UAServer server;
    for (const UA_UInt32 max : {1000U, 7U}) {
        EXPECT_EQ(announceHistory(server.instance(), max), UA_STATUSCODE_GOOD);
        const bool isAble = true;
        for (const auto& [id, wanted, type] :
             {std::tuple<UA_UInt32, const void*, int>(11193, &isAble, UA_TYPES_BOOLEAN),
              {11273, &max, UA_TYPES_UINT32}}) {
            OwnedVariant value;
            (void)UA_Server_readValue(server.instance(), UA_NODEID_NUMERIC(0, id), value.get());
            ASSERT_TRUE(UA_Variant_hasScalarType(value.get(), &UA_TYPES[type]));
            EXPECT_EQ(UA_order(value->data, wanted, &UA_TYPES[type]), UA_ORDER_EQ);
        }
        for (const UA_UInt32 id : {11193U, 11273U, 11192U})
            (void)UA_Server_deleteNode(server.instance(), UA_NODEID_NUMERIC(0, id), true);
    }
}
