#include "server/connections/TurnTime.h"

#include <algorithm>
#include <ctime>

std::chrono::nanoseconds processorTime() noexcept {
    timespec ran{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ran);  // fails for no thread's own clock
    return std::chrono::seconds{ran.tv_sec} + std::chrono::nanoseconds{ran.tv_nsec};
}

TurnTime::TurnTime(UA_EventLoop& loop, Span running, Span longest, ProcessorClock clock)
    : loop_(&loop),
      clock_(clock),
      lookedAt_(now()),
      ranTo_(clock() + running),
      latest_(lookedAt_ + longest),
      mayBeOver_(lookedAt_ + std::min(running, longest)) {}

TurnTime::Span TurnTime::now() const {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, UA_DATETIME_SEC>>;
    return Ticks{loop_->dateTime_nowMonotonic(loop_)};
}

bool TurnTime::isOver() {
    lookedAt_ = now();
    if (lookedAt_ < mayBeOver_) return false;
    const Span left = ranTo_ - clock_();
    mayBeOver_ = std::min(lookedAt_ + left, latest_);
    return mayBeOver_ <= lookedAt_;
}
