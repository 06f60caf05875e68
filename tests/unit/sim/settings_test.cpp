#include "settings/samples.h"
#include "support/basics.h"

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

// A comment that mentions a key before an equals sign would be taken for it.
TEST(Samples, NameEachValueOnceInCharactersOfTheirCodePage) {
    const std::string controller = sim::controllerIni(42, 250);
    EXPECT_EQ(sim::cycleTimeOf(controller, 100), 250);
    const std::size_t number = controller.find("Number_kontr");
    EXPECT_EQ(controller.substr(number, controller.find('\n', number) - number),
              "Number_kontr = 42");
    const std::string server = sim::serverIni(4843);
    EXPECT_NE(server.find("ServerPort = 4843"), std::string::npos);
    for (const std::string& text : {controller, server, sim::trendsIni()}) {
        EXPECT_EQ(text.find('@'), std::string::npos) << "a place that was not filled";
        EXPECT_EQ(text.find('?'), std::string::npos) << "a character that CP866 lacks";
    }
}
