#include "server/startup/StartupSequence.h"

#include "../server_fixture.h"
#include "lib/util/vs_obj.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class Startup : public OperatorView {
  protected:
    /// A process that runs the whole sequence.
    static std::unique_ptr<ChildProcess> start(const std::string& iniCp866,
                                               const Subsystems& subsystems) {
        writeFile(iniFilePath, iniCp866);
        return std::make_unique<ChildProcess>([=] { return runStartupSequence(subsystems); });
    }

    /// Says which part of the start-up called it, and answers with `status`.
    static UA_StatusCode tell(const char* step, UA_StatusCode status = UA_STATUSCODE_GOOD) {
        std::cout << step << ' ' << std::flush;
        return status;
    }

    static Subsystems tellingSubsystems(UA_StatusCode groups) {
        return {[] { return static_cast<int>(tell("journal")); },
                [groups](UAServer&) {
                    for (const auto& variable : rtexvariable)
                        std::cout << variable->getType();
                    return tell(" groups", groups);
                },
                [](UAServer&) { tell("backend"); }, [](UAServer&) { return tell("history"); }};
    }
};

}  // namespace

TEST_F(Startup, RunsUntilItIsToldToEnd) {
    const std::string running = "ЦП 3: OPC UA Сервер: Запущен: ";
    const struct {
        const char* why;
        const char* settings;
        int signal;
        const char* steps;
        std::string lastLine;
    } cases[] = {
        {"everything on", "", SIGTERM, "0002222113344 groups backend history ",
         running + "теги OA+HA"},
        {"no history", "HistoricalData=off\n", SIGINT, "0002222113344 groups backend ",
         running + "теги OA"},
        {"history only", "OperativeData=off\n", SIGTERM, "backend history ", running + "теги HA"},
        {"nothing", "OperativeData=off\nHistoricalData=off\n", SIGTERM, "backend ", running},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        writeFile(kLogPath, "the run before\n");
        const auto child = start(std::string("[General]\nServerPort=4841\n") + c.settings +
                                     "[Attributes]\nVA=all\nType1.A=a,29\n",
                                 tellingSubsystems(UA_STATUSCODE_BAD));
        ASSERT_TRUE(waitUntil([&] { return logLines() == std::vector{c.lastLine}; }))
            << testing::PrintToString(logLines()) << child->out();
        EXPECT_NE(All->name_find("Opcua"), -1);
        EXPECT_EQ(child->wait(std::chrono::milliseconds(100)), -1) << "serves";
        kill(child->pid(), c.signal);
        EXPECT_EQ(child->wait(), 0);
        EXPECT_THAT(child->out(), StartsWith("journal ")) << "before all else";
        EXPECT_THAT(child->out(), EndsWith(std::string("\n") + c.steps));
        EXPECT_THAT(logLines(), ElementsAre(c.lastLine)) << "a good end is not told";
    }
}

TEST_F(Startup, EndsSilentlyWhenItsNameIsTaken) {
    ASSERT_EQ(All->name_add("Opcua", getpid()), getpid());
    const auto child = start("[General]\nServerPort=4841\n", {});
    EXPECT_EQ(child->wait(), 255);
    EXPECT_EQ(All->name_find("Opcua"), getpid());
    All->name_del("Opcua");
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(Startup, EndsWithoutADatabaseProcess) {
    All->name_del("VsBASE");
    const auto child = start("[General]\nServerPort=4841\n", {});
    EXPECT_EQ(child->wait(), 255);
    EXPECT_THAT(child->out(), HasSubstr("No Base in lib"));
    All->name_add("VsBASE", database.processId());
}

TEST_F(Startup, SleepsForeverWithoutTheJournal) {
    writeFile(kLogPath, "the run before\n");
    Subsystems subsystems;
    subsystems.openJournal = [] {
        tell("asked");
        return 1;
    };
    const auto child = start("[General]\nServerPort=4841\n", subsystems);
    ASSERT_TRUE(waitUntil([&] { return child->out() == "asked "; }));
    EXPECT_EQ(child->wait(std::chrono::milliseconds(200)), -1) << "alive";
    EXPECT_EQ(child->out(), "asked ");
    EXPECT_EQ(readFile(kLogPath), "the run before\n") << "and silent";
    EXPECT_EQ(All->name_find("Opcua"), -1);
}

TEST_F(Startup, NamesWhatIsPublished) {
    EXPECT_EQ(modeTextCp866(false, false), "");
    EXPECT_EQ(modeTextCp866(true, false), "теги OA"_cp866);
    EXPECT_EQ(modeTextCp866(false, true), "теги HA"_cp866);
    EXPECT_EQ(modeTextCp866(true, true), "теги OA+HA"_cp866);
}
