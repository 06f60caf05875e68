#include "tools/opcuaweb/history/columns.h"

#include "tests/support/basics.h"

namespace tools::opcuaweb {

using Points = std::vector<HistoryPoint>;

std::string columnsOf(const Points& points, std::size_t width) {
    Columns columns(0, 1000, width);
    Json all = Json::array();
    for (const HistoryPoint& point : points) {
        columns.add(point);
        for (const Json& column : columns.take())
            all.push_back(column);
    }
    for (const Json& column : columns.finish())
        all.push_back(column);
    return jsonLine(all);
}

TEST(Columns, ShowWhatAPictureOfTheirWidthCanShow) {
    const std::optional<double> gap;
    const struct {
        const char* why;
        Points points;
        std::size_t width;
        const char* columns;
    } cases[] = {
        {"nothing", {}, 4, "[]"},
        {"as many as pixels stay, even within one pixel",
         {{1, 5.0}, {2, 7.0}},
         2,
         "[[1,5.0,5.0,5.0,0],[2,7.0,7.0,7.0,0]]"},
        {"a spike within a pixel is kept",
         {{0, 1.0}, {100, 9.0}, {400, 2.0}, {900, 3.0}},
         2,
         "[[400,1.0,9.0,2.0,0],[900,3.0,3.0,3.0,0]]"},
        {"a gap at a pixel's end comes behind its numbers",
         {{0, 1.0}, {10, gap}, {600, 2.0}},
         2,
         "[[0,1.0,1.0,1.0,0],[10,null,null,null,1],[600,2.0,2.0,2.0,0]]"},
        {"and one at its beginning before them",
         {{0, gap}, {10, 1.0}, {600, 2.0}},
         2,
         "[[0,null,null,null,1],[10,1.0,1.0,1.0,0],[600,2.0,2.0,2.0,0]]"},
        {"values at and beyond both ends belong to the outer pixels",
         {{-5, 1.0}, {1000, 2.0}, {1001, 3.0}},
         2,
         "[[-5,1.0,1.0,1.0,0],[1001,2.0,3.0,3.0,0]]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(columnsOf(c.points, c.width), c.columns);
    }
}

}  // namespace tools::opcuaweb
