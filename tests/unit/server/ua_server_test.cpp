#include <open62541/plugin/accesscontrol.h>
#include <open62541/plugin/nodestore.h>
#include <open62541/plugin/nodestore_default.h>

#include "server_fixture.h"

using testing::HasSubstr;
using testing::Not;

TEST(UaServer, StartsWithAQuietLog) {
    Capture out(STDOUT_FILENO);
    UAServer server;
    const UA_Logger* log = UA_Server_getConfig(server.instance())->logging;
    UA_LOG_WARNING(log, UA_LOGCATEGORY_SERVER, "hidden");
    UA_LOG_ERROR(log, UA_LOGCATEGORY_SERVER, "shown");
    EXPECT_THAT(out.text(), testing::AllOf(Not(HasSubstr("hidden")), HasSubstr("shown")));
}

/// No answer shows it; only the time that a read takes.
TEST(UaServer, FindsItsNodesThroughTheIndexWhileItServes) {
    UAServer server;
    server.configurePort();
    ASSERT_EQ(UA_Server_run_startup(server.instance()), UA_STATUSCODE_GOOD);
    UA_Nodestore* const plain = UA_Nodestore_ZipTree();
    EXPECT_NE(UA_Server_getConfig(server.instance())->nodestore->getNode, plain->getNode);
    plain->free(plain);
    EXPECT_EQ(UA_Server_run_shutdown(server.instance()), UA_STATUSCODE_GOOD);
}

/// The services are not in every build of the library, so no client shows that they are refused.
TEST(UaServer, LetsNoClientChangeItsNodes) {
    UAServer server;
    const auto allowed = [&] {
        UA_Server* const s = server.instance();
        UA_AccessControl& access = UA_Server_getConfig(s)->accessControl;
        const UA_NodeId session{};
        const UA_AddNodesItem node{};
        const UA_AddReferencesItem reference{};
        const UA_DeleteNodesItem noNode{};
        const UA_DeleteReferencesItem noReference{};
        return std::vector<bool>{
            access.allowAddNode(s, &access, &session, nullptr, &node),
            access.allowAddReference(s, &access, &session, nullptr, &reference),
            access.allowDeleteNode(s, &access, &session, nullptr, &noNode),
            access.allowDeleteReference(s, &access, &session, nullptr, &noReference)};
    };
    EXPECT_EQ(allowed(), std::vector<bool>(4, true)) << "what the library allows";
    server.denyNodeManagement();
    EXPECT_EQ(allowed(), std::vector<bool>(4, false));
}
