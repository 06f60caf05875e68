#include "server/limits/TimerPhases.h"

#include <cmath>

namespace {

/// Timers share moments this far apart, so that many of them do not wake the loop for each.
constexpr UA_DateTime kStep = 10 * UA_DATETIME_MSEC;

// The loop's own functions. Constant once a loop has been prepared; the loop carries no context.
decltype(UA_EventLoop::addTimer) addOfLoop = nullptr;
decltype(UA_EventLoop::modifyTimer) modifyOfLoop = nullptr;

/// Multiples of the golden ratio: wherever such a sequence is cut, its fractions lie evenly.
double nextPhase() noexcept {
    constexpr double kGoldenRatio = 0.618033988749894848;
    static double phase = 0.0;
    phase = std::fmod(phase + kGoldenRatio, 1.0);
    return phase;
}

/// The moment from which a timer's intervals are counted: within the first interval from now.
UA_DateTime firstMoment(UA_EventLoop& loop, UA_Double intervalMs) noexcept {
    const UA_DateTime now = loop.dateTime_nowMonotonic(&loop);
    const auto phase = static_cast<UA_DateTime>(nextPhase() * intervalMs * UA_DATETIME_MSEC);
    return now + phase - (now + phase) % kStep;
}

/// @return whether it is a timer of the kind that the library moves, which it then is no longer
bool spread(UA_TimerPolicy& policy, const UA_DateTime* base) noexcept {
    if (policy != UA_TIMERPOLICY_CURRENTTIME || base != nullptr) return false;
    policy = UA_TIMERPOLICY_BASETIME;
    return true;
}

UA_StatusCode addSpread(UA_EventLoop* loop, UA_Callback callback, void* application, void* data,
                        UA_Double intervalMs, UA_DateTime* base, UA_TimerPolicy policy,
                        UA_UInt64* id) noexcept {
    UA_DateTime first = 0;
    if (spread(policy, base)) {
        first = firstMoment(*loop, intervalMs);
        base = &first;
    }
    return addOfLoop(loop, callback, application, data, intervalMs, base, policy, id);
}

UA_StatusCode modifySpread(UA_EventLoop* loop, UA_UInt64 id, UA_Double intervalMs,
                           UA_DateTime* base, UA_TimerPolicy policy) noexcept {
    UA_DateTime first = 0;
    if (spread(policy, base)) {
        first = firstMoment(*loop, intervalMs);
        base = &first;
    }
    return modifyOfLoop(loop, id, intervalMs, base, policy);
}

}  // namespace

void spreadTimers(UA_EventLoop& loop) noexcept {
    if (loop.addTimer == addSpread) return;
    addOfLoop = loop.addTimer;
    modifyOfLoop = loop.modifyTimer;
    loop.addTimer = addSpread;
    loop.modifyTimer = modifySpread;
}
