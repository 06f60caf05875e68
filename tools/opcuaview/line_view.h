#pragma once

#include <vector>

#include "tools/opcuaview/reading.h"
#include "tools/opcuaview/watch_loop.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

/// Prints a line for every value that changed, at first for all of them.
class LineView final : public WatchView {
  public:
    /// @param json  an object a line, for other programs: no heading, no trend
    explicit LineView(bool json) : json_(json) {}

    [[nodiscard]] std::size_t defaultLimit() const override;
    void lost(const std::string& text) override;
    void restored(const std::string& text) override;
    void take(ItemList list) override;
    [[nodiscard]] UA_StatusCode readRound(Session& session, const TrendPicture* trend) override;

  private:
    void printObject(const Item& item, const UA_DataValue& value) const;
    void measure();
    void print(const Item& item, const Reading& reading);
    void printRow(const std::vector<std::string>& cells, const std::string& last, Align valueAlign);

    bool json_;
    ItemList list_;
    std::vector<Reading> readings_;  // of the last round; empty before the first one of a list
    std::vector<int> columns_;       // widths, from the first round; empty before it
    std::chrono::steady_clock::time_point nextTrend_;
};

}  // namespace tools::opcuaview
