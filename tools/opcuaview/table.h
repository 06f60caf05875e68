#pragma once

#include <array>
#include <string>
#include <vector>

#include "tools/opcuaview/text.h"

/// A table in character cells, without any terminal behind it.
namespace opcuaview {

enum class Emphasis { none, changed, doubtful, bad };

struct TableCell {
    std::string text;  ///< UTF-8, printable
    Align align = Align::left;
    Emphasis emphasis = Emphasis::none;
};

/// What one column may take of a narrow terminal.
struct TableColumn {
    std::string title;
    int minWidth;    ///< columns that it keeps when the table must shrink
    int shrinkRank;  ///< the highest rank shrinks first
};

class TableRenderer {
  public:
    explicit TableRenderer(std::vector<TableColumn> columns) : columns_(std::move(columns)) {}

    using Row = std::vector<TableCell>;

    /// The title line and one line for each row, none wider than `width`. A column is as wide as
    /// its widest text, as far as that fits, and never narrows from one frame to the next, so that
    /// a live table does not jump.
    /// @param colours  with escape sequences for the emphasis; without, a changed cell ends in "*"
    [[nodiscard]] std::vector<std::string> render(const std::vector<Row>& rows, int width,
                                                  bool colours);

  private:
    void widen(const std::vector<Row>& rows);
    [[nodiscard]] std::vector<int> shrunkTo(int width) const;

    std::vector<TableColumn> columns_;
    std::vector<int> widest_;  // of every frame so far, by column
};

/// Distributes `limit` places over groups of the given sizes as evenly as they allow: no group gets
/// more than its size, and what a small one leaves goes to the others, the first ones first.
[[nodiscard]] std::vector<std::size_t> fairShares(const std::vector<std::size_t>& sizes,
                                                  std::size_t limit);

}  // namespace opcuaview
