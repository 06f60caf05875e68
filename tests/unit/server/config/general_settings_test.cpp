#include "server/config/GeneralSettings.h"

#include <gtest/gtest.h>

static const std::optional<int> kInvalid;

TEST(GeneralSettings, ReadThePortAsAWholeInteger) {
    const struct {
        const char* text;
        std::optional<int> port;
    } cases[] = {{"4840", 4840},       {" \t4849\r\n", 4849},   {"+4840", 4840},
                 {"-1", -1},           {"004840", 4840},        {"4840 x", kInvalid},
                 {"4840x", kInvalid},  {"x4840", kInvalid},     {"48 40", kInvalid},
                 {"4840.", kInvalid},  {"", kInvalid},          {" ", kInvalid},
                 {"0x12E8", kInvalid}, {"4294972136", kInvalid}};
    for (const auto& c : cases)
        EXPECT_EQ(parseWholeInteger(c.text), c.port) << '"' << c.text << '"';
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
    const struct {
        const char* value;
        bool on;
    } cases[] = {{"off", false},     {" off", false}, {"off until May", false},
                 {"\toff\t", false}, {"OFF", true},   {"offline", true},
                 {"no", true},       {"0", true},     {"on off", true},
                 {"", true}};
    for (const auto& c : cases) {
        const std::vector<Section> sections = {{"Any", {{"OperativeData", c.value}}}};
        EXPECT_EQ(switchedOn(sections, "OperativeData"), c.on) << '"' << c.value << '"';
        EXPECT_TRUE(switchedOn(sections, "HistoricalData"));
        EXPECT_TRUE(switchedOn(sections, "operativedata")) << "with case";
    }
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
        {"too short, below a fast cycle", -5, 20, 20, true},
        {"the shortest", 30, 30, 30, false},
        {"between", 250.5, 100, 250.5, false},
        {"the cycle itself", 100, 100, 100, false},
        {"faster than the cycle: unchanged, not raised", 99, 100, std::nullopt, true},
        {"the longest", 10'000, 100, 10'000, false},
        {"too long", 10'001, 100, 10'000, true},
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
