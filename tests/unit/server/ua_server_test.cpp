#include <open62541/plugin/accesscontrol.h>
#include <open62541/plugin/nodestore.h>
#include <open62541/plugin/nodestore_default.h>
#include <open62541/server.h>

#include <algorithm>

#include "server/ServerState.h"
#include "tests/support/capture.h"

using testing::HasSubstr;
using testing::Not;

TEST(UaServer, StartsWithAQuietLog) {
    Capture out(STDOUT_FILENO);
    UAServer server;
    const UA_Logger* log = UA_Server_getConfig(server.instance())->logging;
    UA_LOG_WARNING(log, UA_LOGCATEGORY_SERVER, "hidden");
    UA_LOG_ERROR(log, UA_LOGCATEGORY_SERVER, "shown");
    // A client that repeats a bad request is logged for each.
    for (int i = 0; i < 1000; ++i)
        UA_LOG_ERROR(log, UA_LOGCATEGORY_SERVER, "again");
    UA_LOG_FATAL(log, UA_LOGCATEGORY_SERVER, "the last");
    const std::string text = out.text();
    ASSERT_THAT(text, testing::AllOf(Not(HasSubstr("hidden")), HasSubstr("shown"),
                                     HasSubstr("left out until"), HasSubstr("the last")));
    EXPECT_EQ(std::count(text.begin() + static_cast<std::ptrdiff_t>(text.find("shown")), text.end(),
                         '\n'),
              62)
        << "60 in a minute, that more is left out, and what is fatal";
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
        const auto asked = [&](auto ask, auto item) {
            const UA_NodeId session{};
            return int{ask(s, &access, &session, nullptr, &item)};
        };
        return asked(access.allowAddNode, UA_AddNodesItem{}) +
               asked(access.allowAddReference, UA_AddReferencesItem{}) +
               asked(access.allowDeleteNode, UA_DeleteNodesItem{}) +
               asked(access.allowDeleteReference, UA_DeleteReferencesItem{});
    };
    EXPECT_EQ(allowed(), 4) << "what the library allows";
    server.denyNodeManagement();
    EXPECT_EQ(allowed(), 0);
}

TEST(UaServer, ReportsAFolderThatCannotBeMade) {
    UAServer server;
    UA_NodeId id = UA_NODEID_NUMERIC(1, 5);
    Capture out(STDOUT_FILENO);
    EXPECT_EQ(server.createFolderRVGroup("abc", 99, &id), UA_STATUSCODE_BADPARENTNODEIDINVALID);
    EXPECT_TRUE(UA_NodeId_isNull(&id));
    EXPECT_THAT(out.text(),
                HasSubstr("error/application\x1b[0m\t"
                          "Failed to add folder abc under parent 99: BadParentNodeIdInvalid\n"));
}

TEST(UaServer, NeedsAContextAndAVariable) {
    UA_DataValue value{};
    value.status = 5;
    constexpr std::nullptr_t kNo = nullptr;
    EXPECT_EQ(UAServer::readNodeValue(kNo, kNo, kNo, kNo, kNo, true, kNo, &value),
              UA_STATUSCODE_BADINTERNALERROR);
    EXPECT_FALSE(value.hasValue || value.hasStatus || value.hasSourceTimestamp);
    EXPECT_EQ(value.status, 5U) << "untouched";
    EXPECT_EQ(UAServer::writeNodeValue(kNo, kNo, kNo, kNo, kNo, kNo, &value),
              UA_STATUSCODE_BADINTERNALERROR);
    EXPECT_EQ(UAServer().createUAItems(nullptr, 1, "parent", "", "main", 0, {}),
              UA_STATUSCODE_BADINTERNALERROR);
}
