#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tools/client/session.h"
#include "tools/opcuaview/exit_status.h"
#include "tools/opcuaview/time_choice.h"

namespace tools::opcuaview {

/// Reads histories to their ends. Progress, and why reading ends early, is reported on standard error; a
/// lost connection is restored.
class HistoryReader {
  public:
    using Sink = std::function<void(const std::vector<HistoryValue>&)>;

    /// @param session      connected; must outlive the reader
    /// @param waitSeconds  for how long it tries to restore the connection
    HistoryReader(Session& session, double waitSeconds)
        : session_(session), waitSeconds_(waitSeconds) {}

    /// @param name  begins each report; empty if only one pen is read
    /// @param sink  receives the values piece by piece, oldest first
    /// @return kDone, or kNoValue, kConnectionLost or kIncomplete
    [[nodiscard]] ExitStatus read(const UA_NodeId& node, const TimeRange& range,
                                  const std::string& name, const Sink& sink);

  private:
    using Clock = std::chrono::steady_clock;

    void report(const std::string& text) const;
    void showProgress(UA_DateTime position);
    [[nodiscard]] std::string countText() const;
    [[nodiscard]] ExitStatus stuck(const HistoryPager& pager) const;

    Session& session_;
    double waitSeconds_;
    std::string name_;
    std::size_t count_ = 0;
    Clock::time_point nextProgress_;
};

}  // namespace tools::opcuaview
