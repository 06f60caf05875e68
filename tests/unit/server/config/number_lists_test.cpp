#include "server/config/NumberLists.h"

#include <gtest/gtest.h>

using Numbers = std::vector<std::int32_t>;

TEST(NumberLists, ReadNumbersAndRanges) {
    const struct {
        const char* why;
        std::string value;
        Numbers numbers;
    } cases[] = {
        {"one number", "7", {7}},
        {"sorted, without duplicates", "3, 1-4, 4", {1, 2, 3, 4}},
        {"white space around items", " \t5 ,\v 2\r\n", {2, 5}},
        {"0 is skipped", "0, 1", {1}},
        {"0 is skipped in a range", "0-2", {1, 2}},
        {"a range backwards adds nothing", "5-3", {}},
        {"a range to a negative number is backwards", "3--1, 7", {7}},
        {"a range of one", "4-4", {4}},
        {"the last numbers", "2147483646-2147483647", {2147483646, 2147483647}},
        {"an empty item", "1,,2", {}},
        {"no number", "1, x", {}},
        {"two numbers in one item", "2 3", {}},
        {"a range with two dashes", "1-2-3", {}},
        {"a blank before the dash", "1 -3", {}},
        {"a blank after the dash", "1- 3", {}},
        {"a negative number", "-5", {}},
        {"beyond 32 bits", "1, 2147483648", {}},
        {"nothing", "", {}},
        {"the word with another case", "ALL", {}},
        {"the word among numbers", "1, all", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(getNumbersTagsOperative(c.value), c.numbers);
        EXPECT_EQ(getNumbersTagsOperativeByGroup(c.value), c.numbers);
        EXPECT_EQ(getNumbersTagsHistorical(c.value), c.numbers);
    }
}

TEST(NumberLists, AllIsMinusOneForTagsAndNothingForPens) {
    for (const std::string all : {"all", "\tall \r\n"}) {
        EXPECT_EQ(getNumbersTagsOperative(all), Numbers{-1});
        EXPECT_EQ(getNumbersTagsOperativeByGroup(all), Numbers{-1});
        EXPECT_EQ(getNumbersTagsHistorical(all), Numbers{});
    }
}

TEST(NumberLists, SectionNumbersNeedTheWholeName) {
    const struct {
        std::string rest;
        std::int32_t number;
    } cases[] = {{"12", 12}, {" 5", 5},  {"0", 0},   {"-3", -3},         {"", -1},
                 {"1x", -1}, {"_1", -1}, {"1 ", -1}, {"2147483648", -1}, {"x", -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rest);
        EXPECT_EQ(getNumberGroup("Attributes_Group" + c.rest), c.number);
        EXPECT_EQ(getNumberPlotter("Plotter_" + c.rest), c.number);
        EXPECT_EQ(getNumberGroup("Plotter_" + c.rest), -1);
        EXPECT_EQ(getNumberPlotter("My Plotter_" + c.rest), -1);
    }
    EXPECT_EQ(getNumberGroup("attributes_group1"), -1);
}
