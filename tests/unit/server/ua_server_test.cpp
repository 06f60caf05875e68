#include "server_fixture.h"

using testing::HasSubstr;
using testing::Not;

TEST(UaServer, StartsWithItsNamespaceAndAQuietLog) {
    Capture out(STDOUT_FILENO);
    UAServer server;
    UA_String uri{};
    EXPECT_EQ(UA_Server_getNamespaceByIndex(server.instance(), server.namespaceIndex(), &uri),
              UA_STATUSCODE_GOOD);
    EXPECT_EQ(toText(uri), "urn:vesk");
    UA_String_clear(&uri);
    const UA_Logger* log = UA_Server_getConfig(server.instance())->logging;
    UA_LOG_WARNING(log, UA_LOGCATEGORY_SERVER, "hidden");
    UA_LOG_ERROR(log, UA_LOGCATEGORY_SERVER, "shown");
    EXPECT_THAT(out.text(), testing::AllOf(Not(HasSubstr("hidden")), HasSubstr("shown")));
}
