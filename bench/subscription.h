#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "bench/ua_connection.h"

namespace bench {

/// A subscription that uses a connection exclusively once it publishes. If a connection has
/// several, one of them publishes for all.
class Subscription {
  public:
    /// @param intervalMs  requested publishing interval; 0 is the shortest that the server grants
    explicit Subscription(UaConnection& connection, double intervalMs = 0);

    double intervalMs() const { return intervalMs_; }

    /// Adds items that are sampled at the publishing interval.
    void add(std::span<const UA_NodeId> nodes);
    /// From now on publish requests are outstanding; no other service may be called.
    void startPublishing();
    /// Takes one notification message or keep-alive, waiting at most `deadlineMs`.
    /// @return the number of values in it, 0 if nothing came
    std::size_t receive(int deadlineMs);

  private:
    void postPublish(std::uint32_t subscription, std::uint32_t acknowledged);

    UaConnection& connection_;
    UA_UInt32 id_ = 0;
    double intervalMs_ = 0;
};

}  // namespace bench
