#include <gtest/gtest.h>

#include "server/config/ListSections.h"
#include "server/config/TrimString.h"

TEST(ListSections, KnowsNumberedAndDeclaredSections) {
    ListSections schema;
    declareSchema(schema);
    const struct {
        const char* why;
        std::string name;
        bool known;
    } cases[] = {
        {"declared", "Plotter", true},
        {"another case", "general", false},
        {"a declared name with more behind it", "General2", false},
        {"no name", "", false},
        {"a group", "Attributes_Group12", true},
        {"a group without its number, declared though it is", "Attributes_Group", false},
        {"text behind the number", "Attributes_Group1x", true},
        {"text in front", "My Attributes_Group 1", true},
        {"a group's number with a sign", "Attributes_Group-1", true},
        {"the first occurrence decides", "Attributes_GroupAttributes_Group1", false},
        {"a plotter without its number", "Plotter_", false},
        {"a plotter's number beyond 32 bits", "Plotter_2147483648", false},
        {"the plotter's rule goes first", "Attributes_Group1Plotter_x", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(schema.hasSection(c.name), c.known) << c.why << ": " << c.name;
    }
}

TEST(ListSections, KnowsTheKeysOfEachSection) {
    ListSections schema;
    declareSchema(schema);
    const struct {
        const char* why;
        std::string section;
        std::string key;
        bool known;
    } cases[] = {
        {"declared, spelled as in the field", "General", "AplicationName", true},
        {"another case", "General", "serverPort", false},
        {"an attribute entry, wherever", "Access", "MyTypes", true},
        {"an attribute entry's case", "Attributes", "type1.Temp", false},
        {"of groups only", "Attributes", "Name", false},
        {"declared for every group", "Attributes_Group5", "Name", true},
        {"of plotters only", "Attributes_Group5", "Pens", false},
        {"no attribute entries in plotters", "Plotter_7", "Type1.Temp", false},
        {"plotter before group", "Attributes_Group1Plotter_1", "VA", false},
        {"the bare plotter is a section like others", "Plotter", "Type1.Temp", true},
        {"a section that is not declared", "Nowhere", "VA", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(schema.hasParam(c.section, c.key), c.known) << c.why << ": " << c.key;
    }
}

TEST(ListSections, CanBeFilledPrintedAndStrippedOfComments) {
    ListSections schema;
    schema.addSection("B", {"old"});
    schema.addSection("B", {"x;1", "y:2;3", ":"});
    schema.addParam("B", "z");
    schema.addParam("A", "w");
    schema.RemoveCommentsFromValuesSimple();
    EXPECT_FALSE(schema.hasParam("B", "old"));
    EXPECT_TRUE(schema.hasParam("B", "y"));
    EXPECT_TRUE(schema.hasSection("A"));
    testing::internal::CaptureStdout();
    schema.PrintAll();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[A]\n  w\n[B]\n  x\n  y\n  \n  z\n");
}

TEST(TrimString, CutsAtTheFirstColonOrSemicolon) {
    const struct {
        std::string value;
        std::string cut;
    } cases[] = {{"on ; always", "on "}, {"a:b;c", "a"}, {"a;b:c", "a"}, {";", ""},
                 {"  x  ", "  x  "},     {"", ""}};
    for (const auto& c : cases) {
        EXPECT_EQ(TrimString(c.value), c.cut);
    }
}
