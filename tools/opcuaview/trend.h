#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/client/history_pager.h"
#include "tools/client/session.h"

namespace tools::opcuaview {

/// The last minutes of a pen, for people.
struct TrendPicture {
    std::string name;
    std::string problem;  ///< why there is no curve; empty if there is one
    std::vector<HistoryValue> values;
    UA_DateTime now = 0;  ///< the right end of the curve
    std::chrono::seconds length{};

    /// A heading and the curve: at most `rows` lines of `width` columns.
    [[nodiscard]] std::vector<std::string> lines(int rows, int width) const;
    /// The same in one line.
    [[nodiscard]] std::string line() const;

  private:
    [[nodiscard]] std::string headline() const;
    [[nodiscard]] UA_DateTime begin() const { return now - length.count() * UA_DATETIME_SEC; }
};

/// The last minutes of one pen, updated by history reads that ask for new values only.
class Trend {
  public:
    /// @param session  must outlive the trend
    /// @param pen      part of the pen's node id; the first matching pen is used
    Trend(Session& session, std::string pen, std::chrono::seconds length)
        : session_(session), pen_(std::move(pen)) {
        picture_.length = length;
    }

    /// Finds the pen; call it after each connect. A server without the pen is not a failure: the
    /// picture shows it.
    [[nodiscard]] UA_StatusCode find();

    /// Reads what is new, at most once a second.
    [[nodiscard]] UA_StatusCode update();

    [[nodiscard]] const TrendPicture& picture() const { return picture_; }

  private:
    using Clock = std::chrono::steady_clock;

    void readFrom(UA_DateTime from);
    void forgetOld();

    Session& session_;
    std::string pen_;
    NodeId node_;
    std::optional<HistoryPager> pager_;
    TrendPicture picture_;
    Clock::time_point next_;
};

}  // namespace tools::opcuaview
