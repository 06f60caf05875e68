#include <open62541/plugin/accesscontrol.h>

#include "server_fixture.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class UaServer : public OperatorView {};

const std::string kErrorLine = "ЦП 3: OPC UA Сервер: Ошибка конфигурации: ";

}  // namespace

TEST_F(UaServer, SleepsForeverOnABadPort) {
    const struct {
        const char* why;
        const char* ini;
        const char* journal;
    } cases[] = {
        {"missing", "[General]\nOperativeData=on\n", "journal 18094, 3, 3, \" \"\n"},
        {"not a number", "[General]\nServerPort=48x\n", "journal 18094, 3, 3, \" \"\n"},
        {"below the range", "; \n[General]\nServerPort=4839\n", "journal 18094, 3, 3, \"3\"\n"},
        {"above the range", "[General]\nServerPort=4850\n", "journal 18094, 3, 3, \"2\"\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        writeFile(kLogPath, "");
        const auto child =
            withConfiguration(c.ini, [](UAServer& server) { server.setServerPort(); });
        ASSERT_TRUE(waitUntil([&] { return !logLines().empty(); }));
        EXPECT_EQ(child->wait(std::chrono::milliseconds(200)), -1) << "alive";
        EXPECT_THAT(logLines(), ElementsAre(kErrorLine + "3 "));
        EXPECT_THAT(child->out(), EndsWith(c.journal));
    }
}

TEST_F(UaServer, TakesItsSettingsToTheLibrary) {
    const auto child = withConfiguration(
        "[General]\nServerPort= 4849 \nSamplingInterval=250\nAplicationName=Котёл 1\n"
        "OperativeData=off\n"_cp866,
        [](UAServer& server) {
            const UA_ServerConfig& config = *UA_Server_getConfig(server.instance());
            server.setServerPort();
            server.configurePort();
            ASSERT_EQ(config.serverUrlsSize, 1U);
            EXPECT_THAT(toText(config.serverUrls[0]), HasSubstr(":4849"));

            server.setSourcesSampleInterval();
            server.configureSubscriptionLimits();
            EXPECT_EQ(config.publishingIntervalLimits.min, 250.0);
            EXPECT_EQ(config.publishingIntervalLimits.max, 3'600'000.0);
            EXPECT_EQ(config.samplingIntervalLimits.min, 250.0);
            EXPECT_EQ(config.samplingIntervalLimits.max, 86'400'000.0);

            const UA_LocalizedText& name = config.applicationDescription.applicationName;
            const std::string before = toText(name.text);
            server.configureApplicationName();
            EXPECT_EQ(toText(name.text), before) << "none was set";
            server.setApplicationName();
            server.configureApplicationName();
            EXPECT_EQ(toText(name.locale) + ':' + toText(name.text), "ru-RU:Котёл1");
            EXPECT_FALSE(server.operativeDataMode());
            EXPECT_TRUE(server.historicalDataMode());
        });
    EXPECT_EQ(child->wait(), 0);
    EXPECT_THAT(logLines(), ElementsAre());
}

TEST_F(UaServer, ReportsSamplingIntervalsThatCannotBeHad) {
    const struct {
        const char* value;
        double interval;
        bool report;
    } cases[] = {
        {"20", 200.0, true}, {"150", 500.0, true}, {"20000", 10'000.0, true}, {"x", 500.0, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        writeFile(kLogPath, "");
        const auto child = withConfiguration(
            std::string("[General]\nSamplingInterval=") + c.value + "\n", [&](UAServer& server) {
                server.setSourcesSampleInterval();
                EXPECT_EQ(server.samplingIntervalMs(), c.interval);
            });
        EXPECT_EQ(child->wait(), 0);
        EXPECT_EQ(logLines(),
                  c.report ? std::vector{kErrorLine + "2 2"} : std::vector<std::string>());
    }
}

TEST_F(UaServer, LetsNoClientChangeItsNodes) {
    UAServer server;
    const auto allowed = [&] {
        UA_AccessControl& access = UA_Server_getConfig(server.instance())->accessControl;
        const UA_NodeId session{};
        const UA_AddNodesItem node{};
        const UA_AddReferencesItem reference{};
        const UA_DeleteNodesItem noNode{};
        const UA_DeleteReferencesItem noReference{};
        UA_Server* const s = server.instance();
        return std::vector<bool>{
            access.allowAddNode(s, &access, &session, nullptr, &node),
            access.allowAddReference(s, &access, &session, nullptr, &reference),
            access.allowDeleteNode(s, &access, &session, nullptr, &noNode),
            access.allowDeleteReference(s, &access, &session, nullptr, &noReference)};
    };
    EXPECT_THAT(allowed(), ElementsAre(true, true, true, true)) << "what the library allows";
    server.denyNodeManagement();
    EXPECT_THAT(allowed(), ElementsAre(false, false, false, false));
}

TEST_F(UaServer, StartsWithItsNamespaceAndAQuietLog) {
    Capture out(STDOUT_FILENO);
    UAServer server;
    UA_String uri{};
    EXPECT_EQ(UA_Server_getNamespaceByIndex(server.instance(), server.namespaceIndex(), &uri),
              UA_STATUSCODE_GOOD);
    EXPECT_EQ(toText(uri), "urn:vesk");
    UA_String_clear(&uri);
    EXPECT_EQ(server.samplingIntervalMs(), 500.0);
    UA_LOG_WARNING(UA_Server_getConfig(server.instance())->logging, UA_LOGCATEGORY_SERVER,
                   "hidden");
    UA_LOG_ERROR(UA_Server_getConfig(server.instance())->logging, UA_LOGCATEGORY_SERVER, "shown");
    const std::string text = out.text();
    EXPECT_THAT(text, testing::Not(HasSubstr("hidden")));
    EXPECT_THAT(text, HasSubstr("shown"));
}
