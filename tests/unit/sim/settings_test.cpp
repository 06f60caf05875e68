#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>

#include "layout/field_table.h"
#include "server/text/ToUTF8Converter.h"
#include "settings/samples.h"

namespace {

TEST(Samples, CycleTimeIsReadAsTheControllerReadsIt) {
    const struct {
        const char* text;
        int want;
    } cases[] = {{"CycleTime = 250\n", 250},
                 {"[StartSetup]\r\nCycleTime=40\r\n", 40},
                 {"Number_kontr = 3\n", 100},
                 {"", 100},
                 {"CycleTime = soon\nCycleTime = 50\n", 100},  // the first line decides
                 {"CycleTime\nCycleTime = 50\n", 50},          // a line without "=" is none
                 {"CycleTime = 9\n", 100},
                 {"CycleTime = 60001\n", 100}};
    for (const auto& c : cases) {
        EXPECT_EQ(sim::cycleTimeOf(c.text, 100), c.want) << c.text;
    }
}

// A comment that mentions a key before an equals sign would be taken for it.
TEST(Samples, ControllerSettingsNameEachValueOnce) {
    const std::string text = sim::controllerIni(42, 250);
    EXPECT_EQ(sim::cycleTimeOf(text, 100), 250);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("Number_kontr") == std::string::npos) continue;
        EXPECT_EQ(line, "Number_kontr = 42");
        break;
    }
    EXPECT_EQ(text.find('@'), std::string::npos);
    EXPECT_EQ(text.find('?'), std::string::npos) << "a character that CP866 lacks";
}

sim::TypeCode typeOf(const std::string& marker) {
    const std::map<std::string, sim::TypeCode> types{
        {"Type1", sim::TypeCode::VA}, {"Type2", sim::TypeCode::DI},  {"Type3", sim::TypeCode::AV},
        {"Type4", sim::TypeCode::DO}, {"Type50", sim::TypeCode::HI}, {"Type51", sim::TypeCode::HI},
        {"Type52", sim::TypeCode::HI}};
    return types.at(marker);
}

TEST(Samples, ServerSettingsPublishDescribedAttributesOfAllKinds) {
    const std::string text = sim::serverIni(4843);
    EXPECT_EQ(text.find('@'), std::string::npos);
    EXPECT_EQ(text.find('?'), std::string::npos) << "a character that CP866 lacks";
    EXPECT_NE(text.find("ServerPort = 4843"), std::string::npos);
    EXPECT_NE(text.find("\x8A\xAE\xE2\xA5\xAB\xEC\xAD\xA0\xEF"), std::string::npos) << "Котельная";
    std::set<std::string> keys;
    std::map<std::string, std::set<int>> numbers;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("Type", 0) != 0) continue;
        SCOPED_TRACE(ToUTF8Converter::convertCP866ToUtf8_manual(line));
        EXPECT_TRUE(keys.insert(line.substr(0, line.find(' '))).second) << "key twice";
        const std::string marker = line.substr(0, line.find('.'));
        const int number = std::stoi(line.substr(line.find(',') + 1));
        ASSERT_GE(number, 1);
        EXPECT_LE(std::size_t(number), sim::attributesOf(typeOf(marker)).size());
        EXPECT_TRUE(numbers[marker].insert(number).second) << "attribute twice";
    }
    const std::map<std::string, int> current{{"Type1", 29}, {"Type2", 27},  {"Type4", 20},
                                             {"Type50", 8}, {"Type51", 12}, {"Type52", 14}};
    for (const auto& [marker, number] : current) {
        EXPECT_TRUE(numbers[marker].contains(number)) << marker;
    }
    EXPECT_EQ(numbers.size(), 7U);
}

}  // namespace
