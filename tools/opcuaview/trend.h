#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/client/history_pager.h"
#include "tools/client/session.h"

namespace tools::opcuaview {

/// The last minutes of one pen, updated by history reads that ask for new values only.
class Trend {
  public:
    /// @param session  must outlive the trend
    /// @param pen      part of the pen's node id; the first matching pen is used
    Trend(Session& session, std::string pen, std::chrono::seconds length)
        : session_(session), pen_(std::move(pen)), length_(length) {}

    /// Finds the pen; call it after each connect. A server without the pen is not a failure: the
    /// plot shows it.
    [[nodiscard]] UA_StatusCode find();

    /// Reads what is new, at most once a second.
    [[nodiscard]] UA_StatusCode update();

    /// A heading and the curve.
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
    std::string problem_;  // why there is no curve; empty if there is one
    std::optional<HistoryPager> pager_;
    std::vector<HistoryValue> values_;
    UA_DateTime now_ = 0;
    Clock::time_point next_;
};

}  // namespace tools::opcuaview
