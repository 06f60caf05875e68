#pragma once

#include <string>
#include <vector>

#include "tools/text/text.h"

/// A table in character cells, independent of a terminal.
namespace tools::opcuaview {

enum class Emphasis { none, changed, doubtful, bad };

struct TableCell {
    std::string text;  ///< UTF-8, printable
    Align align = Align::left;
    Emphasis emphasis = Emphasis::none;
};

/// How a column behaves in a narrow terminal.
struct TableColumn {
    std::string title;
    int minWidth;    ///< least width when the table must shrink
    int shrinkRank;  ///< the highest rank shrinks first
};

class TableRenderer {
  public:
    explicit TableRenderer(std::vector<TableColumn> columns) : columns_(std::move(columns)) {}

    using Row = std::vector<TableCell>;

    /// The title line and one line for each row, none wider than `width`. A column is as wide as
    /// its widest text, if that fits, and never gets narrower from one frame to the next, so that a
    /// live table does not jump.
    /// @param colours  uses escape sequences for emphasis; otherwise a changed cell ends with "*"
    [[nodiscard]] std::vector<std::string> render(const std::vector<Row>& rows, int width,
                                                  bool colours);

  private:
    void widen(const std::vector<Row>& rows);
    [[nodiscard]] std::vector<int> shrunkTo(int width) const;

    std::vector<TableColumn> columns_;
    std::vector<int> widest_;  // of every frame so far, by column
};

}  // namespace tools::opcuaview
