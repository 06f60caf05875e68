#include "server/endpoint/Identity.h"

#include <open62541/nodeids.h>

#include "server/ServerState.h"
#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "tests/support/basics.h"

TEST(Identity, HasAnApplicationUriForEachHost) {
    EXPECT_EQ(applicationUriOn("plc-7.Site_2"), "urn:plc-7.Site_2:vesk:opcuasrv");
    EXPECT_EQ(applicationUriOn("a b:\xD0\x96"), "urn:a%20b%3A%D0%96:vesk:opcuasrv");
}

/// Limits are set when the configuration is read, long after the nodes were made.
TEST(Capabilities, StateTheLimitsInForce) {
    UAServer server;
    UA_ServerConfig& config = *UA_Server_getConfig(server.instance());
    config.maxSessions = 7;
    const auto read = [&](UA_UInt32 id, const char* range) {
        UA_ReadValueId what{};
        what.nodeId = UA_NODEID_NUMERIC(0, id);
        what.attributeId = UA_ATTRIBUTEID_VALUE;
        what.indexRange = uaView(range);
        return UA_Server_read(server.instance(), &what, UA_TIMESTAMPSTORETURN_SOURCE);
    };
    UA_UInt32 sessions = 7;
    const std::pair<UA_UInt32, UA_UInt32*> limits[] = {
        {UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSESSIONS, &sessions},
        {UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSUBSCRIPTIONS, &config.maxSubscriptions},
        {UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSUBSCRIPTIONSPERSESSION,
         &config.maxSubscriptionsPerSession},
        {UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMS, &config.maxMonitoredItems},
        {UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMSPERSUBSCRIPTION,
         &config.maxMonitoredItemsPerSubscription},
        {UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSTRINGLENGTH, &config.tcpMaxMsgSize},
    };
    for (const auto& [id, limit] : limits) {
        SCOPED_TRACE(id);
        if (limit != &sessions) *limit = id;
        const OwnedDataValue value(read(id, ""));
        ASSERT_TRUE(UA_Variant_hasScalarType(&value->value, &UA_TYPES[UA_TYPES_UINT32]));
        EXPECT_EQ(*static_cast<UA_UInt32*>(value->value.data), *limit);
        EXPECT_NE(value->sourceTimestamp, 0);
        EXPECT_EQ(read(id, "1").status, UA_STATUSCODE_BADINDEXRANGEINVALID);
    }
}
