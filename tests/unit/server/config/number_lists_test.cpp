#include "server/config/NumberLists.h"
#include "tests/support/basics.h"

using Numbers = std::vector<std::int32_t>;

TEST(NumberLists, ReadNumbersAndRanges) {
    const struct {
        const char* why;
        std::string value;
        Numbers tags, pens = tags;
    } cases[] = {
        {"sorted, without duplicates", "3, 1-4, 4", {1, 2, 3, 4}},
        {"white space around items", " \t5 ,\v 2\r\n", {2, 5}},
        {"0 is skipped in a range", "0-2", {1, 2}},
        {"a range to a negative number is backwards", "3--1, 7", {7}},
        {"the last numbers", "2147483646-2147483647", {2147483646, 2147483647}},
        {"a comma at the end", "3,", {3}},
        {"one bad item drops the list", "1, x", {}},
        {"a blank before the dash", "1 -3", {}},
        {"a blank behind it", "1- 3", {}},
        {"two dashes", "1-2-3", {}},
        {"no comma", "2 1", {}},
        {"all beside a number", "all, 1", {}},
        {"a negative number", "-5", {}},
        {"beyond 32 bits", "1, 2147483648", {}},
        {"nothing", "", {}},
        {"all, which no list of pens knows", "\tall \r\n", {-1}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(getNumbersTagsOperative(c.value), c.tags);
        EXPECT_EQ(getNumbersTagsOperativeByGroup(c.value), c.tags);
        EXPECT_EQ(getNumbersTagsHistorical(c.value), c.pens);
    }
    EXPECT_EQ(getNumberGroup("Attributes_Group 5"), 5);
    EXPECT_EQ(getNumberPlotter("Plotter_-3"), -3);
    for (const char* name : {"Attributes_Group", "Attributes_Group1x", "Attributes_Group1 ",
                             "Attributes_Group2147483648", "attributes_group1", "Plotter_1"})
        EXPECT_EQ(getNumberGroup(name), -1) << name;
    EXPECT_EQ(getNumberPlotter("My Plotter_1"), -1);
}
