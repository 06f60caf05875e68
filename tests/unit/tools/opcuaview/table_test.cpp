#include "tools/opcuaview/table.h"

#include <gmock/gmock.h>

namespace opcuaview {

using testing::ElementsAre;

static TableRenderer twoColumns() {
    return TableRenderer{{{"Тег", 4, 1}, {"Значение", 6, 2}}};
}

TEST(TableRenderer, AlignsByColumnsAndMarksChanges) {
    TableRenderer table = twoColumns();
    const std::vector<TableRenderer::Row> rows = {
        {{"ТМ1"}, {"7.5", Align::right, Emphasis::changed}},
        {{"Котёл2"}, {"плохо", Align::left, Emphasis::bad}},
    };
    EXPECT_THAT(table.render(rows, 80, false), ElementsAre("Тег     Значение",  //
                                                           "ТМ1         7.5*",  //
                                                           "Котёл2  плохо   "));
    EXPECT_EQ(table.render(rows, 80, true)[2], "Котёл2  \x1b[31mплохо   \x1b[0m");
}

TEST(TableRenderer, ShrinksTheColumnOfHighestRankFirstAndNeverExceedsTheWidth) {
    TableRenderer table = twoColumns();
    const std::vector<TableRenderer::Row> rows = {{{"Давление"}, {"1234567890"}}};
    EXPECT_EQ(table.render(rows, 17, false)[1], "Давление  123456…");
    EXPECT_EQ(table.render(rows, 14, false)[1], "Давле…  12345…");
    for (int width = 1; width < 14; ++width)
        EXPECT_LE(displayWidth(table.render(rows, width, false)[1]), width);
    EXPECT_EQ(displayWidth(table.render({{{"Д"}, {"1"}}}, 80, false)[1]), 8 + 2 + 10)
        << "does not narrow between frames";
}

TEST(FairShares, GivesEveryFolderItsPart) {
    EXPECT_THAT(fairShares({2, 100, 0, 100}, 30), ElementsAre(2, 14, 0, 14));
    EXPECT_THAT(fairShares({5, 5}, 3), ElementsAre(2, 1))
        << "what does not divide goes to the first";
    EXPECT_THAT(fairShares({1, 2, 3}, 100), ElementsAre(1, 2, 3));
    EXPECT_THAT(fairShares({}, 5), ElementsAre());
}

}  // namespace opcuaview
