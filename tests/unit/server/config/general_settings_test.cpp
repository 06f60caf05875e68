#include "server/config/GeneralSettings.h"

#include <gtest/gtest.h>

TEST(GeneralSettings, ReadThePortAsAWholeInteger) {
    for (const char* text : {"4840", " \t4840\r\n", "+4840", "004840"})
        EXPECT_EQ(parseWholeInteger(text), 4840) << text;
    EXPECT_EQ(parseWholeInteger("-1"), -1);
    for (const char* text : {"x4840", "48 40", "4840.", "", " ", "4294972136"})
        EXPECT_EQ(parseWholeInteger(text), std::nullopt) << text;
}

TEST(GeneralSettings, CutTheApplicationNameBeforeItsBlanksGo) {
    const auto named = [](const char* value) {
        return applicationNameCp866({{"General", {{"AplicationName", value}}}});
    };
    EXPECT_EQ(named("1234567890123456"), "1234567890123456");
    EXPECT_EQ(named("12 45 78901234567890.."), "12457890123456") << "14 bytes of the first 16";
    EXPECT_EQ(named("                x"), "") << "cut away";
    EXPECT_EQ(named("\ta"), "\ta") << "only blanks go";
    EXPECT_EQ(applicationNameCp866({{"General", {{"ApplicationName", "x"}}}}), "") << "as spelled";
    EXPECT_EQ(applicationNameCp866(
                  {{"A", {{"AplicationName", "first"}}}, {"B", {{"AplicationName", "last"}}}}),
              "last");
}

TEST(GeneralSettings, SwitchOffByOneWordOnly) {
    const auto on = [](const char* value) { return switchedOn({{"Any", {{"K", value}}}}, "K"); };
    for (const char* value : {"off", " off", "off until May", "\toff\t"})
        EXPECT_FALSE(on(value)) << value;
    for (const char* value : {"OFF", "offline", "no", "0", "on off", ""})
        EXPECT_TRUE(on(value)) << value;
    EXPECT_TRUE(switchedOn({{"Any", {{"K", "off"}}}}, "k")) << "with case";
    EXPECT_FALSE(switchedOn({{"A", {{"K", "off"}}}, {"B", {{"K", "on"}}}}, "K")) << "one is enough";
}

TEST(GeneralSettings, BoundTheSamplingInterval) {
    const struct {
        const char* why;
        double asked, cycle;
        std::optional<double> interval;
        bool report;
    } cases[] = {
        {"too short: the cycle", 29.9, 100, 100, true},
        {"the shortest", 30, 30, 30, false},
        {"faster than the cycle: unchanged, not raised", 99, 100, std::nullopt, true},
        {"the longest", 10'000, 100, 10'000, false},
        {"too long, before the cycle counts", 10'001, 20'000, 10'000, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const SamplingDecision decision = decideSamplingInterval(c.asked, c.cycle);
        EXPECT_EQ(decision.intervalMs, c.interval);
        EXPECT_EQ(decision.report, c.report);
    }
    EXPECT_EQ(parseLeadingNumber(" 1.5e2 ms"), 150.0);
    EXPECT_EQ(parseLeadingNumber("ms"), std::nullopt);
    EXPECT_EQ(parseLeadingNumber(""), std::nullopt);
}
