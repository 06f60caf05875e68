#pragma once

#include <vector>

namespace tools::opcuaview {

/// How a column behaves in a narrow terminal.
struct ColumnRule {
    int minWidth;  ///< least width when the table must shrink
    int rank;      ///< the highest rank shrinks first, and is left out first
};

inline constexpr int kColumnGap = 2;  // blanks between two columns

/// Widths of the columns of a table that is at most `width` columns of the terminal wide. A column
/// gets what its widest text needs; if that is too much, columns shrink to their least widths by
/// rank, and if that is too much as well, the highest ranks are left out, but never the last column.
/// @param widest  of each column's texts; 0: there are none, and the column is left out
/// @return one width per column, 0 for one that is left out
[[nodiscard]] std::vector<int> columnWidths(const std::vector<ColumnRule>& rules,
                                            const std::vector<int>& widest, int width);

}  // namespace tools::opcuaview
