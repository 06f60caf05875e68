#pragma once

#include <open62541/plugin/eventloop.h>

#include <chrono>

/// How long this thread has run on a processor.
using ProcessorClock = std::chrono::nanoseconds (*)() noexcept;
std::chrono::nanoseconds processorTime() noexcept;

/// How long one client, or one kind of work, may go on before the others get their turn. Counted is
/// processor time: a server that gets only a share of its core would else do less in each turn, and
/// fall behind. Begins with the object; main thread, as the loop.
class TurnTime {
  public:
    using Span = std::chrono::nanoseconds;

    /// @param loop  its monotonic clock; not owned, outlives this object
    /// @param running  processor time
    /// @param longest  by the loop's clock, however little the server has run
    TurnTime(UA_EventLoop& loop, Span running, Span longest, ProcessorClock clock = processorTime);

    /// To be asked after each piece of work. Looks at the processor's clock, which costs ten times
    /// as much as the loop's, only when the turn can be over.
    [[nodiscard]] bool isOver();

    /// The loop's time at the last look, which the constructor takes first.
    [[nodiscard]] Span lookedAt() const { return lookedAt_; }

  private:
    [[nodiscard]] Span now() const;

    UA_EventLoop* loop_;
    ProcessorClock clock_;
    Span lookedAt_;
    Span ranTo_;      // by the processor's clock
    Span latest_;     // by the loop's clock
    Span mayBeOver_;  // not before this, by the loop's clock
};
