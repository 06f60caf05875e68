#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "server/diagnostics/LogControllerWriter.h"
#include "server/diagnostics/ProcessSize.h"
#include "support/operator_view.h"

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
              "earlier\n"
              "01-02-2024 09:05:03: ЦП 3: Запуск\n"
              "01-02-2024 09:05:03: \n"
              "01-02-2024 09:05:03: two lines\r \n");
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
