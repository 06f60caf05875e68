#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "tools/opcuaweb/basics/clock.h"
#include "tools/opcuaweb/basics/json.h"
#include "tools/opcuaweb/opcua/asker.h"

namespace tools::opcuaweb {

/// What the server says about itself, read once a second.
class ServerState {
  public:
    [[nodiscard]] Asker::Job job();
    /// {"name", "product", "version", "state", "startTime", "serviceLevel"}; null for what is unknown.
    [[nodiscard]] Json state() const;

  private:
    Asker::Step step(Session* session);

    Clock::time_point next_;           // it and the next one: the asking thread's
    std::optional<std::string> name_;  // asked once for each connection
    mutable std::mutex mutex_;         // guards the one below
    Json state_ = Json::object();
};

}  // namespace tools::opcuaweb
