#include "server/config/ListSections.h"
#include "server/config/TrimString.h"
#include "tests/support/basics.h"

TEST(ListSections, KnowsSectionsAndTheirKeys) {
    ListSections schema;
    declareSchema(schema);
    const struct {
        const char *why, *section;
        bool known;
    } sections[] = {
        {"text around the number", "My Attributes_Group -1x", true},
        {"the first occurrence decides", "Attributes_GroupAttributes_Group1", false},
        {"a plotter's number beyond 32 bits", "Plotter_2147483648", false},
        {"the plotter's rule goes first", "Attributes_Group1Plotter_x", false},
    };
    for (const auto& c : sections)
        EXPECT_EQ(schema.hasSection(c.section), c.known) << c.why;

    const struct {
        const char *why, *section, *key;
        bool known;
    } keys[] = {
        {"an attribute entry, wherever", "Access", "MyTypes", true},
        {"an attribute entry's case", "Attributes", "type1.Temp", false},
        {"no attribute entries in plotters", "Plotter_7", "Type1.Temp", false},
        {"plotter before group", "Attributes_Group1Plotter_1", "VA", false},
        {"the bare plotter is a section like others", "Plotter", "Type1.Temp", true},
        {"a section that is not declared", "Nowhere", "VA", false},
    };
    for (const auto& c : keys)
        EXPECT_EQ(schema.hasParam(c.section, c.key), c.known) << c.why;
}

TEST(ListSections, CanBeFilledPrintedAndStrippedOfComments) {
    ListSections schema;
    schema.addSection("B", {"old"});
    schema.addSection("B", {"x;1", "y:2;3", ":"});
    schema.addParam("B", "z");
    schema.addParam("A", "w");
    schema.RemoveCommentsFromValuesSimple();
    testing::internal::CaptureStdout();
    schema.PrintAll();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[A]\n  w\n[B]\n  x\n  y\n  \n  z\n");
    EXPECT_EQ(TrimString(" a :b;c") + TrimString(";"), " a ");
}
