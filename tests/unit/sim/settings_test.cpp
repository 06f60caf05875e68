#include "sim/settings/samples.h"
#include "tests/support/basics.h"

TEST(Samples, CycleTimeIsReadAsTheControllerReadsIt) {
    const std::pair<const char*, int> cases[] = {
        {"CycleTime = 250\n", 250},
        {"[StartSetup]\r\nCycleTime=40\r\n", 40},
        {"Number_kontr = 3\n", 100},
        {"", 100},
        {"CycleTime = soon\nCycleTime = 50\n", 100},  // the first line decides
        {"CycleTime\nCycleTime = 50\n", 50},          // a line without "=" is none
        {"CycleTime = 9\n", 100},
        {"CycleTime = 60001\n", 100}};
    for (const auto& [text, want] : cases)
        EXPECT_EQ(sim::cycleTimeOf(text, 100), want) << text;
}

TEST(Samples, AreFilledAndInCharactersOfTheirCodePage) {
    for (const std::string& text :
         {sim::controllerIni(42, 250), sim::serverIni(4843), sim::trendsIni()}) {
        EXPECT_EQ(text.find('@'), std::string::npos) << "a place that was not filled";
        EXPECT_EQ(text.find('?'), std::string::npos) << "a character that CP866 lacks";
    }
    EXPECT_EQ(sim::cycleTimeOf(sim::controllerIni(42, 250), 100), 250)
        << "no comment quotes the key";
}
