#include "server/startup/StartupSequence.h"

#include "../server_fixture.h"
#include "lib/util/vs_obj.h"

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

TEST_F(Startup, MakesItsPartsInOrderAndServesThoughOneFails) {
    const struct {
        const char* settings;
        const char* steps;
    } cases[] = {
        {"", "0002222113344 groups backend history "},
        {"HistoricalData=off\n", "0002222113344 groups backend "},
        {"OperativeData=off\n", "backend history "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.settings);
        writeFile(kLogPath, "");
        const auto child = start(std::string("[General]\nServerPort=4841\n") + c.settings,
                                 tellingSubsystems(UA_STATUSCODE_BAD));
        ASSERT_TRUE(waitUntil([&] { return child->out().ends_with(std::string("\n") + c.steps); }))
            << child->out();
        ASSERT_TRUE(waitUntil([&] { return logLines().size() == 1; }));
        kill(child->pid(), SIGTERM);
        EXPECT_EQ(child->wait(), 0);
        EXPECT_THAT(child->out(), StartsWith("journal ")) << "before all else";
    }
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
