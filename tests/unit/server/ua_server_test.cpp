#include <open62541/plugin/accesscontrol.h>
#include <open62541/plugin/nodestore.h>
#include <open62541/plugin/nodestore_default.h>
#include <open62541/server.h>

#include <algorithm>

#include "server/ServerState.h"
#include "support/capture.h"

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

/// The library moves timers to one moment: all subscriptions were sampled before anybody was
/// served.
TEST(UaServer, CallsFewTimersAtOnceAlsoAfterADelay) {
    UAServer server;
    server.configurePort();
    ASSERT_EQ(UA_Server_run_startup(server.instance()), UA_STATUSCODE_GOOD);
    UA_EventLoop& loop = *UA_Server_getConfig(server.instance())->eventLoop;
    static UA_DateTime now = loop.dateTime_nowMonotonic(&loop);
    loop.dateTime_nowMonotonic = [](UA_EventLoop*) { return now; };
    constexpr int kTimers = 50;
    static int costMs = 0;
    int calls = 0;
    for (int i = 0; i < kTimers; ++i)
        (void)UA_Server_addRepeatedCallback(
            server.instance(),
            [](UA_Server*, void* count) {
                ++*static_cast<int*>(count);
                now += costMs * UA_DATETIME_MSEC;
            },
            &calls, i % 2 == 0 ? 500 : 1000, nullptr);
    const auto callsAfter = [&](double milliseconds) {
        const int before = calls;
        now += static_cast<UA_DateTime>(milliseconds * UA_DATETIME_MSEC);
        (void)loop.run(&loop, 0);
        return calls - before;
    };
    const auto mostAtOnce = [&](int steps) {
        int most = 0;
        for (int i = 0; i < steps; ++i)
            most = std::max(most, callsAfter(10));
        return most;
    };
    EXPECT_LE(mostAtOnce(200), 5);
    EXPECT_EQ(calls, 3 * kTimers) << "in two seconds";
    EXPECT_EQ(callsAfter(1500), kTimers);
    EXPECT_LE(mostAtOnce(200), 5);

    costMs = 8;
    EXPECT_EQ(callsAfter(1500), 3) << "their turn is over";
    const int due = kTimers - 3;
    const int before = calls;
    for (int round = 0; round < due / 3 + 1; ++round)
        EXPECT_LE(callsAfter(0), 3);
    EXPECT_GE(calls - before, due) << "but none is forgotten";
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
