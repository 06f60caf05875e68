#include "server/startup/StartupSequence.h"

#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/variables/UARTEXVariable.h"
#include "support/child_process.h"
#include "support/operator_view.h"

class Startup : public OperatorView {
  protected:
    /// Says which part of the start-up called it, and answers with `status`.
    static UA_StatusCode report(const char* step, UA_StatusCode status = UA_STATUSCODE_GOOD) {
        std::cout << step << ' ' << std::flush;
        return status;
    }

    const Subsystems subsystems{[] { return static_cast<int>(report("journal")); },
                                [](UAServer&) {
                                    for (const auto& variable : rtexvariable)
                                        std::cout << variable->getType();
                                    for (const auto& node : varContexts)
                                        std::cout << (node->timestamp > 0 ? " timed" : " -");
                                    return report(" groups", UA_STATUSCODE_BAD);
                                },
                                [](UAServer&) { report("backend"); },
                                [](UAServer&) { return report("history"); }};
};

TEST_F(Startup, MakesItsPartsInOrderAndServesThoughOneFails) {
    const struct {
        const char* settings;
        const char* steps;
        const char* mode;
    } cases[] = {
        {"[Attributes]\nVA=2\nType1.V=V,29\n", "0002222113344 timed groups backend history ",
         " теги OA+HA"},
        {"HistoricalData=off\n", "0002222113344 groups backend ", " теги OA"},
        {"OperativeData=off\n", "backend history ", " теги HA"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.settings);
        writeFile(kLogPath, "");
        writeFile(iniFilePath, std::string("[General]\nServerPort=4841\n") + c.settings);
        ChildProcess child([this] { return runStartupSequence(subsystems); });
        ASSERT_TRUE(waitUntil([&] { return child.out().ends_with(std::string("\n") + c.steps); }))
            << child.out();
        ASSERT_TRUE(waitUntil([] { return logLines().size() == 1; }));
        EXPECT_TRUE(logLines()[0].ends_with(c.mode)) << logLines()[0];
        kill(child.pid(), SIGTERM);
        EXPECT_EQ(child.wait(), 0);
        EXPECT_TRUE(child.out().starts_with("journal ")) << "before all else";
    }
}

TEST_F(Startup, SignalsEndTheLoopAndNothingElse) {
    struct StopsWhatIsAnnounced final : EventJournal {
        int signal;
        explicit StopsWhatIsAnnounced(int number) : signal(number) {}
        void post(std::uint32_t number, const std::vector<JournalArgument>&) override {
            if (number == 18092) kill(getpid(), signal);  // the library does not listen yet
        }
    };
    writeFile(iniFilePath, "[General]\nServerPort=4841\n");
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        ChildProcess child([&] {
            std::thread([] {
                for (;;)
                    pause();
            }).detach();  // takes what the loop's thread blocks
            StopsWhatIsAnnounced stopping(signal);
            installEventJournal(&stopping);
            const int status = runStartupSequence(subsystems);
            for (const int late : {SIGINT, SIGTERM})
                kill(getpid(), late);
            return status;
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.err(), "");
    }
}
