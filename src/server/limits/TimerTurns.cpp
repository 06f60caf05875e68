#include "server/limits/TimerTurns.h"

#include <cmath>
#include <ctime>
#include <deque>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

namespace {

/// Timers share moments this far apart, so that many of them do not wake the loop for each.
constexpr UA_DateTime kStep = 10 * UA_DATETIME_MSEC;

/// In each round of the loop; the timer that is being called then comes to its end. Processor time:
/// a server that gets only a share of its core would else do less in each round, and fall behind.
constexpr UA_DateTime kTurn = 5 * UA_DATETIME_MSEC;
constexpr std::clock_t kTurnRunning = 5 * CLOCKS_PER_SEC / 1000;

/// By the wall clock, however little the server has run.
constexpr UA_DateTime kLongestTurn = 20 * UA_DATETIME_MSEC;

/// What a timer does when its turn comes.
struct Timer {
    UA_UInt64 id = 0;
    UA_Callback callback = nullptr;
    void* application = nullptr;
    void* data = nullptr;
    bool due = false;  // waits in due_ for its turn
};

/// The library hands callbacks of its server over under the loop's type of callbacks, and its own
/// loop calls them so too.
#ifdef __clang__
__attribute__((no_sanitize("function")))
#endif
void call(const Timer& timer) {
    timer.callback(timer.application, timer.data);
}

/// The timers of one loop, between the library and the loop's own timers.
class TimerTurns {
  public:
    /// What the loop does by itself.
    struct Functions {
        decltype(UA_EventLoop::addTimer) add;
        decltype(UA_EventLoop::modifyTimer) modify;
        decltype(UA_EventLoop::removeTimer) remove;
        decltype(UA_EventLoop::free) free;
    };

    explicit TimerTurns(UA_EventLoop& loop)
        : loop_(loop), ofLoop_{loop.addTimer, loop.modifyTimer, loop.removeTimer, loop.free} {}
    TimerTurns(const TimerTurns&) = delete;
    TimerTurns& operator=(const TimerTurns&) = delete;
    ~TimerTurns() = default;

    UA_StatusCode add(const Timer& wanted, UA_Double intervalMs, UA_UInt64* id);
    UA_StatusCode modify(UA_UInt64 id, UA_Double intervalMs);
    void remove(UA_UInt64 id);
    /// Nothing is called any more, as what it works on may be gone.
    void end() { due_.clear(); }

    const Functions& ofLoop() const { return ofLoop_; }

  private:
    static void onDue(void* turns, void* timer) noexcept;
    static void onRound(void* turns, void* unused) noexcept;
    void callDue();
    void wantRound();
    [[nodiscard]] UA_DateTime now() const { return loop_.dateTime_nowMonotonic(&loop_); }
    [[nodiscard]] UA_DateTime firstMoment(UA_Double intervalMs);

    UA_EventLoop& loop_;
    Functions ofLoop_;
    std::unordered_map<UA_UInt64, Timer> timers_;
    std::deque<UA_UInt64> due_;  // in order; one that was removed meanwhile is in timers_ no more
    UA_DelayedCallback round_{};
    bool roundWanted_ = false;
    double phase_ = 0.0;
};

/// The moment from which a timer's intervals are counted, within the first interval from now: by
/// multiples of the golden ratio, which lie evenly wherever their sequence ends.
UA_DateTime TimerTurns::firstMoment(UA_Double intervalMs) {
    constexpr double kGoldenRatio = 0.618033988749894848;
    phase_ = std::fmod(phase_ + kGoldenRatio, 1.0);
    const auto from = now() + static_cast<UA_DateTime>(phase_ * intervalMs * UA_DATETIME_MSEC);
    return from - from % kStep;
}

UA_StatusCode TimerTurns::add(const Timer& wanted, UA_Double intervalMs, UA_UInt64* id) {
    // A loop's timer needs its data before it has an id: the entry moves to its id afterwards.
    auto entry = timers_.extract(timers_.insert_or_assign(0, wanted).first);
    Timer& timer = entry.mapped();
    UA_DateTime first = firstMoment(intervalMs);
    const UA_StatusCode status = ofLoop_.add(&loop_, onDue, this, &timer, intervalMs, &first,
                                             UA_TIMERPOLICY_BASETIME, &timer.id);
    if (status != UA_STATUSCODE_GOOD) return status;
    entry.key() = timer.id;
    if (id != nullptr) *id = timer.id;
    timers_.insert(std::move(entry));
    return status;
}

UA_StatusCode TimerTurns::modify(UA_UInt64 id, UA_Double intervalMs) {
    UA_DateTime first = firstMoment(intervalMs);
    return ofLoop_.modify(&loop_, id, intervalMs, &first, UA_TIMERPOLICY_BASETIME);
}

void TimerTurns::remove(UA_UInt64 id) {
    timers_.erase(id);
    ofLoop_.remove(&loop_, id);
}

/// The loop calls this for each timer that is due, one after the other.
void TimerTurns::onDue(void* turns, void* timer) noexcept {
    TimerTurns& self = *static_cast<TimerTurns*>(turns);
    Timer& due = *static_cast<Timer*>(timer);
    if (due.due) return;
    try {
        self.due_.push_back(due.id);
    } catch (const std::bad_alloc&) {
        return;  // it falls due again
    }
    due.due = true;
    self.wantRound();
}

/// Delayed callbacks come after the timers and before the sockets, which are not waited for while
/// there is another one.
void TimerTurns::wantRound() {
    if (roundWanted_) return;
    roundWanted_ = true;
    round_.callback = onRound;
    round_.application = this;
    loop_.addDelayedCallback(&loop_, &round_);
}

void TimerTurns::onRound(void* turns, void* /*unused*/) noexcept {
    TimerTurns& self = *static_cast<TimerTurns*>(turns);
    self.roundWanted_ = false;
    self.callDue();
    if (!self.due_.empty()) self.wantRound();
}

void TimerTurns::callDue() {
    const UA_DateTime began = now();
    const std::clock_t ranBefore = std::clock();
    const auto isOver = [&] {
        const UA_DateTime passed = now() - began;
        return passed >= kLongestTurn ||
               (passed >= kTurn && std::clock() - ranBefore >= kTurnRunning);
    };
    while (!due_.empty()) {
        const auto found = timers_.find(due_.front());
        due_.pop_front();
        if (found == timers_.end()) continue;
        found->second.due = false;
        const Timer timer = found->second;  // its callback may remove it
        call(timer);
        if (isOver()) return;
    }
}

// ---- What the library calls ---------------------------------------------------------------------

/// Loops carry no context. A server has one; only tests have several. The server is an object of
/// the process, made before this and gone after it, so nothing destroys the table.
auto& loops() {
    using Loops = std::unordered_map<UA_EventLoop*, std::unique_ptr<TimerTurns>>;
    static auto* const table = new Loops;
    return *table;
}

TimerTurns& turnsOf(UA_EventLoop* loop) noexcept {
    return *loops().find(loop)->second;
}

/// Whether it is a timer of the kind that the library moves.
bool isRepeated(UA_TimerPolicy policy, const UA_DateTime* base) noexcept {
    return policy == UA_TIMERPOLICY_CURRENTTIME && base == nullptr;
}

UA_StatusCode addTimer(UA_EventLoop* loop, UA_Callback callback, void* application, void* data,
                       UA_Double intervalMs, UA_DateTime* base, UA_TimerPolicy policy,
                       UA_UInt64* id) noexcept {
    TimerTurns& turns = turnsOf(loop);
    if (!isRepeated(policy, base) || callback == nullptr) {
        const auto plain = turns.ofLoop().add;
        return plain(loop, callback, application, data, intervalMs, base, policy, id);
    }
    try {
        return turns.add({0, callback, application, data}, intervalMs, id);
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UA_StatusCode modifyTimer(UA_EventLoop* loop, UA_UInt64 id, UA_Double intervalMs, UA_DateTime* base,
                          UA_TimerPolicy policy) noexcept {
    TimerTurns& turns = turnsOf(loop);
    if (isRepeated(policy, base)) return turns.modify(id, intervalMs);
    return turns.ofLoop().modify(loop, id, intervalMs, base, policy);
}

void removeTimer(UA_EventLoop* loop, UA_UInt64 id) noexcept {
    turnsOf(loop).remove(id);
}

UA_StatusCode freeLoop(UA_EventLoop* loop) noexcept {
    TimerTurns& turns = turnsOf(loop);
    turns.end();
    const UA_StatusCode status = turns.ofLoop().free(loop);
    if (status == UA_STATUSCODE_GOOD) loops().erase(loop);
    return status;
}

}  // namespace

bool giveTimersTurns(UA_EventLoop& loop) noexcept {
    try {
        loops().insert_or_assign(&loop, std::make_unique<TimerTurns>(loop));
    } catch (const std::bad_alloc&) {
        return false;
    }
    loop.addTimer = addTimer;
    loop.modifyTimer = modifyTimer;
    loop.removeTimer = removeTimer;
    loop.free = freeLoop;
    return true;
}
