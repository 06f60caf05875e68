#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "tools/client/item_list.h"
#include "tools/client/session.h"
#include "tools/opcuaview/exit_status.h"
#include "tools/opcuaview/trend.h"
#include "tools/opcuaview/watch.h"

namespace tools::opcuaview {

/// What was read while the program ran.
struct WatchTotals {
    std::size_t values = 0;
    std::size_t changes = 0;
};

/// Reads variables and shows them. The loop calls it from its own thread.
class WatchView {
  public:
    WatchView() = default;
    virtual ~WatchView() = default;
    WatchView(const WatchView&) = delete;
    WatchView& operator=(const WatchView&) = delete;

    /// How many variables it shows if the operator does not say; 0: all.
    [[nodiscard]] virtual std::size_t defaultLimit() const = 0;

    /// The connection does not stand, or it does again; called with what an operator should know.
    virtual void lost(const std::string& text) = 0;
    virtual void restored(const std::string& text) = 0;
    /// The first attempt to connect has failed.
    virtual void waits(const std::string& /*text*/) {}
    /// The tree is being walked. @param seen  variables so far
    virtual void walks(std::size_t /*seen*/) {}

    /// The variables of all rounds to come, at least one; called again after each reconnect.
    virtual void take(ItemList list) = 0;

    /// One round: reads values and shows them.
    /// @param trend  null if the operator wants none; valid during the call
    [[nodiscard]] virtual UA_StatusCode readRound(Session& session, const TrendPicture* trend) = 0;

    /// Does a little of what is less urgent. @return false: nothing to do before the next list
    [[nodiscard]] virtual bool useSpareTime(Session& /*session*/) { return false; }

    [[nodiscard]] WatchTotals totals() const { return totals_; }

  protected:
    WatchTotals totals_;
};

/// Keeps a view supplied: connects, lists the variables, reads them once per interval, and starts
/// again when the connection is lost.
class WatchLoop {
  public:
    /// Both arguments outlive the loop.
    WatchLoop(const WatchOptions& options, WatchView& view);

    /// Runs until the time is over, a stop is requested or the connection is lost for good. Messages
    /// go to standard error.
    /// @return kDone also if nothing was read
    [[nodiscard]] ExitStatus run();

  private:
    [[nodiscard]] bool over() const;
    [[nodiscard]] bool reconnect(UA_StatusCode status);
    [[nodiscard]] UA_StatusCode list(bool& empty);
    [[nodiscard]] UA_StatusCode round();
    [[nodiscard]] UA_StatusCode idleUntil(std::chrono::steady_clock::time_point next);
    [[nodiscard]] ExitStatus noVariables() const;

    const WatchOptions& options_;
    WatchView& view_;
    Session session_;
    std::optional<Trend> trend_;
    std::optional<std::chrono::steady_clock::time_point> startedAt_;  // of the first round
};

}  // namespace tools::opcuaview
