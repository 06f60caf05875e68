#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tools/opcuaview/board.h"
#include "tools/opcuaview/columns.h"
#include "tools/opcuaview/screen.h"
#include "tools/opcuaview/watch.h"

namespace tools::opcuaview {

/// The live table on the screen: what keys do, and how the board's rows are drawn.
class TableView {
  public:
    /// All arguments outlive the view.
    TableView(Board& board, Screen& screen, const WatchOptions& options);

    /// @return false if the key ends the program
    [[nodiscard]] bool press(const Key& key);

    /// Draws what is new, or everything. Cheap if there is nothing new.
    void draw();

  private:
    static constexpr int kHeadRows = 2;  // heading, titles
    static constexpr int kFootRows = 2;  // details of the row under the cursor, keys

    using Cells = std::array<std::string, kColumnCount>;
    struct Counts {
        std::size_t all = 0;
        std::size_t chosen = 0;
        std::array<std::size_t, 4> marks{};  // by Mark
    };
    /// What one picture shows, copied from the board.
    struct Snapshot {
        std::vector<Row> rows;
        UA_DateTime now = 0;  // on the server's clock
        std::string state;
        bool lost = false;
        bool complete = true;
        std::shared_ptr<const TrendPicture> trend;
    };

    [[nodiscard]] bool typed(const std::string& text);
    [[nodiscard]] Order nextShownOrder() const;
    void typeFilter(const Key& key);
    void move(const Key& key);
    void choose(const std::string& filter, const Order& order);

    [[nodiscard]] bool isStale() const;
    void arrange();
    void count();
    void clampCursor();
    [[nodiscard]] Snapshot snapshot();
    [[nodiscard]] int bodyRows() const;
    [[nodiscard]] int trendRows() const;

    // In table_drawing.cpp.
    [[nodiscard]] static Cells cellsOf(const Row& row, UA_DateTime now);
    [[nodiscard]] Cells titles() const;
    void widen(const Cells& cells);
    void drawHeading(const Snapshot& shown);
    void drawTitles(const Cells& heads);
    void drawTable(const Snapshot& shown);
    void drawRow(int line, const Row& row, const Cells& cells, bool selected, UA_DateTime now);
    void drawDetail(const Row& row);
    void drawFoot();
    void drawHelp();

    Board& board_;
    Screen& screen_;
    const WatchOptions& options_;

    TerminalSize size_{24, 80};
    std::string filter_;
    Order order_;
    bool typing_ = false;  // the filter
    bool help_ = false;
    bool changed_ = true;     // by a key
    std::size_t cursor_ = 0;  // place in chosen_
    std::size_t top_ = 0;     // place of the first row on the screen

    std::vector<std::size_t> chosen_;  // indexes of the board's rows
    Counts counts_;
    std::optional<unsigned> arrangedTexts_;  // the board's counters when chosen_ was made
    unsigned arrangedReadings_ = 0;
    Clock::duration arranging_{};  // how long that took
    Clock::time_point arrangedAt_;
    Clock::time_point countedAt_;
    Clock::time_point drawnAt_;
    unsigned drawnReadings_ = 0;
    std::vector<int> widths_;  // of the columns as drawn last; 0: not shown
    std::vector<int> widest_;  // of each column since the choice or the terminal changed
};

}  // namespace tools::opcuaview
