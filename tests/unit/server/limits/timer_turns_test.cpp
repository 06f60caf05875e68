#include "server/limits/TimerTurns.h"

#include "tests/support/basics.h"

namespace {

UA_DateTime now = 1'234'567;

/// The library's loop, with a clock that the test sets.
class Loop {
  public:
    Loop() {
        loop_->dateTime_nowMonotonic = [](UA_EventLoop*) { return now; };
        EXPECT_TRUE(giveTimersTurns(*loop_));
        EXPECT_EQ(loop_->start(loop_), UA_STATUSCODE_GOOD);
    }
    ~Loop() {
        loop_->stop(loop_);
        while (loop_->state != UA_EVENTLOOPSTATE_STOPPED)
            round();
        EXPECT_EQ(loop_->free(loop_), UA_STATUSCODE_GOOD);
    }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void round() { (void)loop_->run(loop_, 0); }
    void pass(double ms) {
        for (; ms > 0; ms -= 10) {
            now += 10 * UA_DATETIME_MSEC;
            round();
        }
    }
    UA_EventLoop* operator->() { return loop_; }
    UA_EventLoop* get() { return loop_; }

  private:
    UA_EventLoop* loop_ = UA_EventLoop_new_POSIX(nullptr);
};

struct Timer {
    UA_UInt64 id = 0;
    double intervalMs = 0;
    UA_DateTime since = 0;  // it was added, modified or called last
    int calls = 0;
    std::function<void()> action;

    double waitedMs() const { return static_cast<double>(now - since) / UA_DATETIME_MSEC; }
};

void onCall(void* /*application*/, void* data) {
    Timer& timer = *static_cast<Timer*>(data);
    ++timer.calls;
    timer.since = now;
    if (timer.action) timer.action();
}

void add(Loop& loop, Timer& timer) {
    ASSERT_EQ(loop->addTimer(loop.get(), onCall, nullptr, &timer, timer.intervalMs, nullptr,
                             UA_TIMERPOLICY_CURRENTTIME, &timer.id),
              UA_STATUSCODE_GOOD);
}

}  // namespace

TEST(TimerTurns, EachIsCalledOnceAnIntervalWhateverOthersDo) {
    std::mt19937 random(4);
    std::vector<Timer> timers(500);
    Loop loop;
    const auto begin = [&](Timer& timer) {
        const double intervals[] = {50, 100, 333.3, 500};
        timer.intervalMs = intervals[random() % 4];
        timer.since = now;
        timer.calls = 0;
        timer.action = [&timer, last = now]() mutable {
            const double shortest = timer.calls > 1 ? timer.intervalMs - 10 : 0;
            EXPECT_GE(now - last, shortest * UA_DATETIME_MSEC);
            last = now;
        };
    };
    const auto remove = [&](Timer& timer) {
        loop->removeTimer(loop.get(), timer.id);
        loop->removeTimer(loop.get(), timer.id);
        timer.id = 0;
        timer.action = [] { ADD_FAILURE() << "called though it was removed"; };
    };
    for (int step = 0; step < 4000; ++step) {
        Timer& timer = timers[random() % timers.size()];
        Timer& other = random() % 2 == 0 ? timer : timers[random() % timers.size()];
        if (timer.id == 0) {
            begin(timer);
            add(loop, timer);
        } else if (random() % 4 == 0) {
            timer.action = [&] { remove(other); };
        } else if (random() % 3 == 0) {
            begin(timer);
            ASSERT_EQ(loop->modifyTimer(loop.get(), timer.id, timer.intervalMs, nullptr,
                                        UA_TIMERPOLICY_CURRENTTIME),
                      UA_STATUSCODE_GOOD);
        } else if (random() % 4 == 0) {
            remove(timer);
        }
        loop.pass(10);
        for (const Timer& each : timers)
            ASSERT_TRUE(each.id == 0 || each.waitedMs() <= each.intervalMs + 10);
    }
}

TEST(TimerTurns, TheyLieApartAndAreCalledOnceWhenLate) {
    std::vector<Timer> timers(1000);
    Loop loop;
    for (Timer& timer : timers) {
        timer.intervalMs = 1000;
        add(loop, timer);
    }
    loop.pass(1000);
    std::map<UA_DateTime, int> moments;
    for (const Timer& timer : timers) {
        ASSERT_EQ(timer.calls, 1) << "within the first interval";
        EXPECT_LE(++moments[timer.since], 12);
    }
    EXPECT_EQ(moments.size(), 100u);

    int calls = 0;
    for (Timer& timer : timers) {
        timer.action = [&] {
            ++calls;
            now += 5 * UA_DATETIME_MSEC;  // in which the server does not run
        };
    }
    now += 4500 * UA_DATETIME_MSEC;
    loop.round();
    EXPECT_LE(calls, 4) << "no longer than 20 ms by the wall clock";
    while (calls < 1000)
        loop.round();
    for (const Timer& timer : timers)
        EXPECT_THAT(timer.calls, testing::AnyOf(2, 3));
}
