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

/// How long one client, or one kind of work, may go on before the others get their turn. Counted is
/// processor time: a server that gets only a share of its core would else do less in each turn, and
/// fall behind. Begins with the object; main thread, as the loop.
class TurnTime {
  public:
    /// @param loop  its monotonic clock; not owned, outlives this object
    /// @param running  processor time
    /// @param longest  by the loop's clock, however little the server has run
    TurnTime(UA_EventLoop& loop, Ticks running, Ticks longest,
             ProcessorClock clock = processorTime);

    /// To be asked after each piece of work. Looks at the processor's clock, which costs ten times
    /// as much as the loop's, only when the turn can be over.
    [[nodiscard]] bool isOver();

    /// The loop's time at the last look, which the constructor takes first.
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
