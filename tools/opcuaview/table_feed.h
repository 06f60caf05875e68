#pragma once

#include <span>
#include <vector>

#include "tools/opcuaview/board.h"
#include "tools/opcuaview/watch_loop.h"

namespace tools::opcuaview {

/// Fills the board with what the loop reads. The rows on the screen are read in every round, and the
/// others as far as `kReadsPerRound` goes, in turn, so that a table of any length costs the server
/// the same.
class TableFeed final : public WatchView {
  public:
    static constexpr std::size_t kReadsPerRound = 10'000;

    /// @param board  outlives the feed
    explicit TableFeed(Board& board) : board_(board) {}

    [[nodiscard]] std::size_t defaultLimit() const override { return 0; }
    void lost(const std::string& text) override { setState(text, true); }
    void restored(const std::string& text) override { setState(text, false); }
    void waits(const std::string& text) override { setState(text, true); }
    void walks(std::size_t seen) override;
    void take(ItemList list) override;
    [[nodiscard]] UA_StatusCode readRound(Session& session, const TrendPicture* trend) override;
    [[nodiscard]] bool useSpareTime(Session& session) override;

  private:
    void setState(const std::string& text, bool lost);
    [[nodiscard]] std::vector<std::size_t> visibleRows();
    [[nodiscard]] UA_StatusCode readRows(Session& session, std::span<const std::size_t> indexes);
    [[nodiscard]] std::vector<std::size_t> rowsWithoutTexts();

    Board& board_;
    ItemList list_;
    std::size_t nextRow_ = 0;  // of those that are read in turn
    std::vector<bool> hasTexts_;
    std::size_t nextText_ = 0;  // all rows before it have their texts
};

}  // namespace tools::opcuaview
