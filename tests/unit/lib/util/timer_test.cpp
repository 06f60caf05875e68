#include "lib/util/timer.h"

#include "tests/unit/lib/util/messages.h"

class Timer : public Messages {
  protected:
    Timer() { object.ProxyTimer = process.pid(); }

    // The controller's timer process, as far as a client sees it: answers every request and prints
    // it.
    ChildProcess process{[this] {
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        for (;;) {
            unsigned char data[15] = {};
            const int client = object.Receive(0, data, sizeof data);
            for (const unsigned byte : data)
                std::printf("%02x", byte);  // before the client goes on
            object.Reply(client, nullptr, 0, 0);
        }
        return 0;
    }};
    /// As when the timers of these ids are due.
    void tick(std::initializer_list<char> ids) const {
        for (const char id : ids)
            request(own, process.pid(), {id});
    }
};

TEST_F(Timer, AsksTheTimerProcessAndTakesItsOwnTicksOnly) {
    std::unique_ptr<CTimer> timer;
    const std::string stored = "000d0c0b0a0403020107";
    const auto isTime = [&] { return timer->isTime(); };
    const auto make = [&] { return timer.reset(object.CreateTimer(0x01020304, 0x0A0B0C0D, 7)), 0; };
    const auto ofOthers = [&] {
        tick({8});
        request(own, getppid(), "\x07 is not from the timer process");
        return timer->isTime();
    };
    const auto waitForLater = [&] {
        std::thread later([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            tick({7});
        });
        const int result = timer->WaitTime();
        later.join();
        return result;
    };
    const auto end = [&] { return kill(process.pid(), SIGKILL), process.wait(); };
    // clang-format off
    const struct {
        const char* why;
        std::function<int()> step;
        int result;
        std::string request;  // its bytes but for the five zeros behind them
    } steps[] = {
        {"made",                make,                                              0,  stored},
        {"ticks of others",     ofOthers,                                          0,  ""},
        {"looks past those",    [&] { tick({7, 7}); return timer->isTime(); },     1,  ""},
        {"takes one at a time", isTime,                                            1,  ""},
        {"drops former ticks",  [&] { tick({7}); return timer->Restart(500, 2); }, 0,  "0002000000f401000007"},
        {"dropped",             isTime,                                            0,  ""},
        {"with what is stored", [&] { return timer->Restart(0, 9); },              0,  stored},
        {"likewise",            [&] { return timer->Reset(); },                    0,  stored},
        {"takes all that came", [&] { tick({7, 7}); return timer->WaitTime(); },   0,  ""},
        {"waits for the next",  waitForLater,                                      0,  ""},
        {"ends it",             [&] { tick({7}); return timer->Delete(); },        0,  "00000000000000000007"},
        {"others' are left",    [&] { return object.getNumMsg_SR(); },             2,  ""},
        {"its process ends",    end,                                               128 + SIGKILL, ""},
        {"none to wait for",    [&] { return timer->WaitTime(); },                 -1, ""},
        {"none to end it",      [&] { return timer->Delete(); },                   -1, ""},
    };
    // clang-format on
    for (const auto& step : steps) {
        SCOPED_TRACE(step.why);
        const std::size_t before = process.out().size();
        EXPECT_EQ(step.step(), step.result);
        EXPECT_EQ(process.out().substr(before),
                  step.request + (step.request.empty() ? "" : "0000000000"));
    }
}
