#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/opcuaview/history_pager.h"
#include "tools/opcuaview/session.h"

namespace opcuaview {

/// The last minutes of one pen, kept up to date by history reads: each asks for what is new.
class Trend {
  public:
    /// @param session  must outlive the trend
    /// @param pen      part of the pen's node id; the first pen that has it is taken
    Trend(Session& session, std::string pen, std::chrono::seconds length)
        : session_(session), pen_(std::move(pen)), length_(length) {}

    /// Finds the pen; anew after each connect. A server without it is no failure: the picture says
    /// so.
    [[nodiscard]] UA_StatusCode find();

    /// Reads what is new, at most once a second.
    [[nodiscard]] UA_StatusCode update();

    /// A headline and the curve.
    [[nodiscard]] std::vector<std::string> picture(int rows, int width) const;
    /// The same in one line.
    [[nodiscard]] std::string line() const;

  private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] std::string headline() const;
    void readFrom(UA_DateTime from);
    void forgetOld();

    Session& session_;
    std::string pen_;
    std::chrono::seconds length_;
    NodeId node_;
    std::string name_;
    std::string problem_;  // why there is no curve; empty: there is one
    std::optional<HistoryPager> pager_;
    std::vector<HistoryValue> values_;
    UA_DateTime now_ = 0;
    Clock::time_point next_;
};

}  // namespace opcuaview
