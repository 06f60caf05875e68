#include "server/diagnostics/LogControllerWriter.h"
#include "server/diagnostics/MsgHandler.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/diagnostics/ProcessSize.h"
#include "server/diagnostics/SleepForever.h"
#include "server/diagnostics/VeskkntrReader.h"
#include "server/text/Cp866Literal.h"
#include "tests/support/child_process.h"
#include "tests/support/operator_view.h"

using testing::ElementsAre;

static const std::string kPath = "/zrt/log/test.log";

/// 2024-02-01 06:05:03.999 UTC.
static std::chrono::system_clock::time_point fixedClock() noexcept {
    return std::chrono::system_clock::time_point(std::chrono::milliseconds(1706767503999));
}

class Log : public testing::Test {
  protected:
    Log() {
        setenv("TZ", "XXX-3", 1);  // three hours east
        tzset();
        writeFile(kPath, "");
    }
    ~Log() override {
        unsetenv("TZ");
        tzset();
    }

    LogControllerWriter log{kPath, &fixedClock};
};

TEST_F(Log, AppendsOneLineWithLocalTimePerEvent) {
    EXPECT_EQ(log.setTimeForMsg(), "01-02-2024 09:05:03");
    writeFile(kPath, "earlier\n");
    log.writeLogToFile("ЦП 3: Запуск");
    log.writeLogToFile("");
    log.writeLogToFile("two\nlines\r\n");
    EXPECT_EQ(readFile(kPath),
              "earlier\n01-02-2024 09:05:03: ЦП 3: Запуск\n"
              "01-02-2024 09:05:03: \n01-02-2024 09:05:03: two lines\r \n");
    std::filesystem::remove(kPath);
    log.writeLogToFile(std::string(100'000, 'x'));
    EXPECT_EQ(readFile(kPath).size(), 100'022U) << "made when missing, no limit";
}

TEST(ProcessSize, IsCountedInPagesOfFourKibibytes) {
    writeFile("/zrt/statm", "1000 17 3\n");
    EXPECT_EQ(get_vsz_mb("/zrt/statm"), 3.90625);
    EXPECT_EQ(get_vsz_mb("/zrt/none"), 0.0);
    EXPECT_GT(get_vsz_mb(), 1.0);

    writeFile(kLogPath, "");
    testing::internal::CaptureStdout();
    log_vsz("=== db init success ===");
    EXPECT_EQ(testing::internal::GetCapturedStdout() + readFile(kLogPath), "");
}

class OperatorMessages : public OperatorView {};

TEST_F(OperatorMessages, GoToTheLogOnlyWithoutAJournal) {
    EXPECT_EQ(installEventJournal(nullptr), &journal);
    postAndLog(MessageNumber::started, {}, "\x80");
    EXPECT_THAT(logLines(), ElementsAre("А"));
    EXPECT_TRUE(journal.messages.empty());
    EXPECT_EQ(installEventJournal(&journal), nullptr);
    reportStarted("1.0-0");
    EXPECT_EQ(logLines().back(), "ЦП 3: OPC UA Сервер: Запуск: Версия: 1.0-0");
}

/// Who searches a guide for a line of the log finds it there as it stands.
TEST_F(OperatorMessages, AreAllInTheGuides) {
    reportStarted("1.0-0");
    for (const auto& mode : {"теги OA+HA"_cp866, "теги OA"_cp866, "теги HA"_cp866, ""_cp866})
        reportRunning(mode);
    reportStopped();
    for (int error = 1; error <= 6; ++error)
        reportConfigError(static_cast<ConfigError>(error), 17);
    reportMissingAttribute(17);
    for (const char* guide : {OPERATION_MD, OPERATION_RU_MD}) {
        const std::string text = readFile(guide);
        for (const std::string& line : logLines())
            EXPECT_NE(text.find("| `" + line + "` |"), std::string::npos) << guide << ": " << line;
    }
}

static const std::string kSettings = "/zrt/other/veskkntr.ini";

TEST(VeskkntrReader, TakesTheFirstLineThatSeemsToHoldTheKey) {
    const struct {
        const char* why;
        std::string file;
        std::int32_t number, cycleTimeMs;
    } cases[] = {
        {"blanks around, DOS line ends", "[A]\r\nCycleTime=\t20\r\nNumber_kontr = 12\r\n", 12, 20},
        {"no number keeps the default, whatever follows",
         "Number_kontr=abc\nCycleTime=\nNumber_kontr=5\nCycleTime=60\n", 0, 100},
        {"a comment that quotes the key decides", "; Number_kontr = 3 or so\nNumber_kontr=5", 3,
         100},
        {"a line without '=' is passed over", "Number_kontr 3\nNumber_kontr=5\n", 5, 100},
        {"'=' before the key does not count", "a=Number_kontr\nNumber_kontr=5\n", 5, 100},
        {"a longer key is taken too", "OldCycleTimeMs=30\nCycleTime=60\n", 0, 30},
        {"more than 32 bits keep the default", "Number_kontr=4294967296\nCycleTime=9999999999", 0,
         100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        writeFile(kSettings, c.file);
        VeskkntrReader reader;
        for (const std::string& path : {kSettings, std::string("/zrt/none.ini")}) {  // then kept
            EXPECT_EQ(reader.getNumKontr(path), c.number);
            EXPECT_EQ(reader.getCycleTime(path), c.cycleTimeMs);
        }
        EXPECT_EQ(std::pair(reader.getNumKontr(), reader.getCycleTime()),
                  std::pair(c.number, c.cycleTimeMs));
    }
}

TEST(MsgHandler, KnowsTheControllerOfTheFixedFile) {
    writeFile(kSettings, "Number_kontr=-07\nCycleTime=50\n");
    const MsgHandler handler(kSettings);
    EXPECT_TRUE(handler.getNumKontrMsg() == -7 && handler.getCycleTimeMsg() == 50);
    EXPECT_EQ(handler.getNumContrStroke(), "-7");

    // support/controller_3.cpp wrote the fixed file; the folder that the environment names is not
    // asked.
    setenv("SETTINGS", "/zrt/other", 1);
    EXPECT_EQ(getMsgHandler().getCycleTimeMsg(), 200);
    writeFile("/zrt/settings/veskkntr.ini", "Number_kontr=4\n");
    EXPECT_EQ(getMsgHandler().getNumContrStroke(), "3") << "read once";
}

TEST(SleepForever, IsNotEndedByAHandledSignal) {
    ChildProcess child([] {
        std::signal(SIGUSR1, [](int) { std::cout << "signal " << std::flush; });
        raise(SIGUSR1);
        sleepForever();
        return 0;
    });
    for (const char* heard : {"signal ", "signal signal ", "signal signal signal "}) {
        ASSERT_TRUE(waitUntil([&] { return child.out() == heard; }));
        kill(child.pid(), SIGUSR1);
    }
    kill(child.pid(), SIGTERM);
    EXPECT_EQ(child.wait(), 128 + SIGTERM);
}
