#pragma once

#include <open62541/plugin/eventloop.h>

#include <chrono>
#include <cstdint>
#include <ratio>

/// A point of the loop's monotonic clock, or a span of it, in its ticks of 100 ns. It counts from
/// 1601, which in nanoseconds does not fit into 64 bits.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, UA_DATETIME_SEC>>;

/// How long this thread has run on a processor.
using ProcessorClock = Ticks (*)() noexcept;
Ticks processorTime() noexcept;

/// Limits how long one client, or one kind of work, may run before the others get their turn. It
/// counts processor time, because a server that gets only a share of its core would otherwise do
/// less in each turn and fall behind. Begins with the object's construction; main thread, as the
/// loop.
class TurnTime {
  public:
    /// @param loop  provides the monotonic clock; not owned, outlives this object
    /// @param running  processor time
    /// @param longest  limit by the loop's clock, even if the server hardly ran
    TurnTime(UA_EventLoop& loop, Ticks running, Ticks longest,
             ProcessorClock clock = processorTime);

    /// Call after each piece of work. Reads the processor-time clock, which costs ten times as much
    /// as the loop's clock, only when the turn may be over.
    [[nodiscard]] bool isOver();

    /// The loop's time when it was last read, first by the constructor.
    [[nodiscard]] Ticks lookedAt() const { return lookedAt_; }

  private:
    [[nodiscard]] Ticks now() const;

    UA_EventLoop* loop_;
    ProcessorClock clock_;
    Ticks lookedAt_;
    Ticks ranTo_;      // by the processor's clock
    Ticks latest_;     // by the loop's clock
    Ticks mayBeOver_;  // not before this, by the loop's clock
};
