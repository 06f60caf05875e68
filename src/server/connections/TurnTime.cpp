#include "server/connections/TurnTime.h"

#include <algorithm>
#include <ctime>

Ticks processorTime() noexcept {
    timespec ran{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ran);  // cannot fail for the thread's own clock
    return std::chrono::seconds{ran.tv_sec} +
           std::chrono::duration_cast<Ticks>(std::chrono::nanoseconds{ran.tv_nsec});
}

TurnTime::TurnTime(UA_EventLoop& loop, Ticks running, Ticks longest, ProcessorClock clock)
    : loop_(&loop),
      clock_(clock),
      lookedAt_(now()),
      ranTo_(clock() + running),
      latest_(lookedAt_ + longest),
      mayBeOver_(lookedAt_ + std::min(running, longest)) {}

Ticks TurnTime::now() const {
    return Ticks{loop_->dateTime_nowMonotonic(loop_)};
}

bool TurnTime::isOver() {
    lookedAt_ = now();
    if (lookedAt_ < mayBeOver_) return false;
    const Ticks left = ranTo_ - clock_();
    mayBeOver_ = std::min(lookedAt_ + left, latest_);
    return mayBeOver_ <= lookedAt_;
}
