#include "server/limits/TimerTurns.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "server/connections/TurnTime.h"

namespace {

/// Timers fire on a grid of this step, so that the loop does not wake up for each of them.
constexpr UA_DateTime kStep = 10 * UA_DATETIME_MSEC;

/// Time for timers in each round of the loop; a timer whose call has begun is completed.
constexpr std::chrono::milliseconds kTurn{5};
/// The same by the wall clock, even if the server hardly ran.
constexpr std::chrono::milliseconds kLongestTurn{20};

/// The data of coming timers is prefetched into the cache this many calls ahead, and for each timer
/// this many bytes, in lines: the size of a monitored item. Calls are too short to wait for memory
/// in each of them.
constexpr std::size_t kAhead = 2;
constexpr std::size_t kDataBytes = 256;
constexpr std::size_t kLine = 64;

/// What the timers of one slot have in common: the same function at the same times.
struct Kind {
    UA_Callback callback;
    void* application;
    UA_DateTime interval;
    UA_DateTime phase;  // within the interval, a multiple of kStep

    bool operator==(const Kind&) const = default;
};

struct KindHash {
    std::size_t operator()(const Kind& kind) const noexcept {
        const std::hash<UA_DateTime> hash;
        return hash(kind.interval ^ (kind.phase << 20)) ^ std::hash<UA_Callback>{}(kind.callback);
    }
};

/// One of a slot's timers.
struct Timer {
    void* data;
    std::uint32_t index;  // of its place
};

/// Timers that one timer of the loop calls one after the other.
struct Slot {
    explicit Slot(const Kind& of) : kind(of) {}

    const Kind kind;
    UA_UInt64 ofLoop = 0;    // the loop's timer
    bool due = false;        // waits for its turn, or is having it
    std::size_t called = 0;  // timers at the front that were already called in this turn
    std::vector<Timer> timers;
};

/// Where a timer is. Places are reused with a new age, so that ids are never reused.
struct Place {
    Slot* slot = nullptr;  // null: free
    std::uint32_t at = 0;  // in the slot's timers; the next free place, of a free one
    std::uint32_t age = 0;
};

/// The loop counts its own ids from 1.
constexpr UA_UInt64 kOurs = UA_UInt64{1} << 63;
constexpr std::uint32_t kAges = std::uint32_t{1} << 31;
constexpr std::uint32_t kNone = UINT32_MAX;

/// The library passes its server's callbacks as the loop's type of callback, and its own loop calls
/// them that way too.
#ifdef __clang__
__attribute__((no_sanitize("function")))
#endif
void call(const Kind& kind, void* data) {
    kind.callback(kind.application, data);
}

void prefetch(const void* data) {
    if (data == nullptr) return;
    for (std::size_t byte = 0; byte < kDataBytes; byte += kLine)
        __builtin_prefetch(static_cast<const char*>(data) + byte);
}

/// The timers of one loop, between the library and the loop's own timers.
class TimerTurns {
  public:
    /// The loop's original functions.
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

    UA_StatusCode add(Kind kind, void* data, UA_Double intervalMs, UA_UInt64* id);
    UA_StatusCode modify(UA_UInt64 id, UA_Double intervalMs);
    void remove(UA_UInt64 id);
    /// No timer is called any more: its data may be gone, and a server that has more to sample than
    /// it has time for would never end.
    void end() { due_.clear(); }

    const Functions& ofLoop() const { return ofLoop_; }

  private:
    static void onDue(void* turns, void* slot) noexcept;
    static void onRound(void* turns, void* unused) noexcept;
    void callDue();
    void callNext(Slot& slot);
    void wantRound();

    UA_StatusCode slotFor(Kind kind, UA_Double intervalMs, Slot*& slot);
    void dropIfUnused(Slot& slot);
    void join(Slot& slot, const Timer& timer);
    void leave(Slot& slot, std::uint32_t at);
    void put(Slot& slot, std::size_t at, const Timer& timer);
    std::uint32_t freePlace();
    Place* find(UA_UInt64 id);

    UA_EventLoop& loop_;
    Functions ofLoop_;
    std::unordered_map<Kind, Slot, KindHash> slots_;
    std::vector<Place> places_;
    std::uint32_t firstFree_ = kNone;
    std::deque<Slot*> due_;  // in order
    UA_DelayedCallback round_{};
    bool roundWanted_ = false;
    double phase_ = 0.0;
};

// ---- Slots --------------------------------------------------------------------------------------

/// Phases are multiples of the golden ratio, which are evenly distributed for any number of slots.
UA_StatusCode TimerTurns::slotFor(Kind kind, UA_Double intervalMs, Slot*& slot) {
    constexpr double kGoldenRatio = 0.618033988749894848;
    if (!(intervalMs * UA_DATETIME_MSEC >= 1.0)) return UA_STATUSCODE_BADINTERNALERROR;
    kind.interval = static_cast<UA_DateTime>(intervalMs * UA_DATETIME_MSEC);
    phase_ = std::fmod(phase_ + kGoldenRatio, 1.0);
    const auto steps = static_cast<double>(std::max<UA_DateTime>(kind.interval / kStep, 1));
    kind.phase = static_cast<UA_DateTime>(phase_ * steps) * kStep;

    const auto [found, isNew] = slots_.try_emplace(kind, kind);
    slot = &found->second;
    if (!isNew) return UA_STATUSCODE_GOOD;
    UA_DateTime phase = kind.phase;
    const UA_StatusCode status = ofLoop_.add(&loop_, onDue, this, slot, intervalMs, &phase,
                                             UA_TIMERPOLICY_BASETIME, &slot->ofLoop);
    if (status != UA_STATUSCODE_GOOD) slots_.erase(found);
    return status;
}

/// A slot that is due is dropped after its turn, like one that could not be used for lack of
/// memory.
void TimerTurns::dropIfUnused(Slot& slot) {
    if (!slot.timers.empty() || slot.due) return;
    ofLoop_.remove(&loop_, slot.ofLoop);
    const Kind kind = slot.kind;
    slots_.erase(kind);
}

void TimerTurns::put(Slot& slot, std::size_t at, const Timer& timer) {
    slot.timers[at] = timer;
    places_[timer.index].slot = &slot;
    places_[timer.index].at = static_cast<std::uint32_t>(at);
}

void TimerTurns::join(Slot& slot, const Timer& timer) {
    slot.timers.push_back(timer);
    put(slot, slot.timers.size() - 1, timer);
}

/// The last timer takes the place of the removed one, in such a way that each is still called once
/// per turn.
void TimerTurns::leave(Slot& slot, std::uint32_t at) {
    std::size_t gap = at;
    if (gap < slot.called) {
        put(slot, gap, slot.timers[--slot.called]);
        gap = slot.called;
    }
    put(slot, gap, slot.timers.back());
    slot.timers.pop_back();
    if (slot.timers.size() < slot.timers.capacity() / 4) slot.timers.shrink_to_fit();
}

// ---- Timers -------------------------------------------------------------------------------------

std::uint32_t TimerTurns::freePlace() {
    if (firstFree_ == kNone) {
        places_.push_back({nullptr, kNone, 0});
        firstFree_ = static_cast<std::uint32_t>(places_.size() - 1);
    }
    return firstFree_;
}

Place* TimerTurns::find(UA_UInt64 id) {
    const auto index = static_cast<std::uint32_t>(id);
    if (index >= places_.size() || places_[index].slot == nullptr) return nullptr;
    return places_[index].age == (id & ~kOurs) >> 32 ? &places_[index] : nullptr;
}

UA_StatusCode TimerTurns::add(Kind kind, void* data, UA_Double intervalMs, UA_UInt64* id) {
    const std::uint32_t index = freePlace();
    Slot* slot = nullptr;
    const UA_StatusCode status = slotFor(kind, intervalMs, slot);
    if (status != UA_STATUSCODE_GOOD) return status;
    const std::uint32_t nextFree = places_[index].at;
    join(*slot, {data, index});
    firstFree_ = nextFree;
    if (id != nullptr) *id = kOurs | UA_UInt64{places_[index].age} << 32 | index;
    return status;
}

UA_StatusCode TimerTurns::modify(UA_UInt64 id, UA_Double intervalMs) {
    const Place* const place = find(id);
    if (place == nullptr) return UA_STATUSCODE_BADNOTFOUND;
    Slot& from = *place->slot;
    const std::uint32_t at = place->at;
    Slot* to = nullptr;
    const UA_StatusCode status = slotFor(from.kind, intervalMs, to);
    if (status != UA_STATUSCODE_GOOD || to == &from) return status;
    const Timer timer = from.timers[at];
    to->timers.push_back(timer);
    leave(from, at);
    put(*to, to->timers.size() - 1, timer);
    dropIfUnused(from);
    return status;
}

void TimerTurns::remove(UA_UInt64 id) {
    Place* const place = find(id);
    if (place == nullptr) return;
    Slot& slot = *place->slot;
    const auto index = static_cast<std::uint32_t>(id);
    leave(slot, place->at);
    *place = {nullptr, std::exchange(firstFree_, index), (place->age + 1) % kAges};
    dropIfUnused(slot);
}

// ---- Turns --------------------------------------------------------------------------------------

/// The loop calls this for each due slot, one after the other.
void TimerTurns::onDue(void* turns, void* slot) noexcept {
    TimerTurns& self = *static_cast<TimerTurns*>(turns);
    Slot& due = *static_cast<Slot*>(slot);
    if (due.due) return;
    try {
        self.due_.push_back(&due);
    } catch (const std::bad_alloc&) {
        return;  // it will be due again
    }
    due.due = true;
    self.wantRound();
}

/// Delayed callbacks run after the timers and before the sockets, and the loop does not wait for
/// the sockets while there is another delayed callback.
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
    if (self.loop_.state == UA_EVENTLOOPSTATE_STOPPING) self.end();
    self.callDue();
    if (!self.due_.empty()) self.wantRound();
}

void TimerTurns::callDue() {
    TurnTime turn(loop_, kTurn, kLongestTurn);
    while (!due_.empty()) {
        Slot& slot = *due_.front();
        while (slot.called < slot.timers.size()) {
            callNext(slot);
            if (turn.isOver()) return;
        }
        due_.pop_front();
        slot.called = 0;
        slot.due = false;
        dropIfUnused(slot);
    }
}

/// The callback may remove any timer, including its own, and add others.
void TimerTurns::callNext(Slot& slot) {
    void* const data = slot.timers[slot.called++].data;
    if (slot.called + kAhead <= slot.timers.size())
        prefetch(slot.timers[slot.called + kAhead - 1].data);
    call(slot.kind, data);
}

// ---- What the library calls ---------------------------------------------------------------------

/// Finds the turns of a loop, because loops carry no context. A server has one loop; only tests
/// have several. The table is never destroyed, because the process-wide server is made before it
/// and so outlives static objects of this file.
auto& loops() {
    using Loops = std::unordered_map<UA_EventLoop*, std::unique_ptr<TimerTurns>>;
    static auto* const table = new Loops;
    return *table;
}

TimerTurns& turnsOf(UA_EventLoop* loop) noexcept {
    return *loops().find(loop)->second;
}

/// Whether it is a repeated timer, which the library would move to a common moment.
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
        return turns.add({callback, application, 0, 0}, data, intervalMs, id);
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UA_StatusCode modifyTimer(UA_EventLoop* loop, UA_UInt64 id, UA_Double intervalMs, UA_DateTime* base,
                          UA_TimerPolicy policy) noexcept {
    TimerTurns& turns = turnsOf(loop);
    if ((id & kOurs) == 0) return turns.ofLoop().modify(loop, id, intervalMs, base, policy);
    try {
        return turns.modify(id, intervalMs);
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

void removeTimer(UA_EventLoop* loop, UA_UInt64 id) noexcept {
    TimerTurns& turns = turnsOf(loop);
    if ((id & kOurs) == 0) return turns.ofLoop().remove(loop, id);
    turns.remove(id);
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
