#include "lib/util/timer.h"

#include <gtest/gtest.h>
#include <sys/msg.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>

#include "lib/util/vs_obj.h"
#include "support/child_process.h"
#include "support/vesk_path.h"

namespace {

// The controller's timer process, as far as a client sees it: answers every request and prints it.
class Timer : public testing::Test {
  protected:
    Timer() : process(serve) {
        // The registry is there when the process has its name.
        EXPECT_TRUE(waitUntil([this] { return process.out().find("ready") != std::string::npos; }));
        object = std::make_unique<vs_obj>();
        EXPECT_EQ(object->ProxyTimer, process.pid());
    }

    static int serve() {
        vs_obj channel;
        channel.name_add("proxytimer", 0);
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        std::puts("ready");
        for (;;) {
            unsigned char data[15] = {};
            const int client = channel.Receive(0, data, sizeof data);
            if (client == -1) continue;
            for (const unsigned byte : data)
                std::printf("%02x", byte);  // before the client goes on
            std::puts("");
            channel.Reply(client, nullptr, 0, 0);
        }
    }
    void message(int sender, const std::string& data) const {
        struct {
            long type;
            char text[100];
        } raw{getpid(), {}};
        std::memcpy(raw.text, &sender, 4);
        std::memcpy(raw.text + 4, data.data(), data.size());
        ASSERT_EQ(msgsnd(object->SR_id, &raw, 4 + data.size(), IPC_NOWAIT), 0);
    }
    /// As when the timers of these ids are due.
    void tick(std::initializer_list<char> ids) const {
        for (const char id : ids)
            message(process.pid(), {id});
    }

    const VeskPath path;
    ChildProcess process;
    std::unique_ptr<vs_obj> object;
};

TEST_F(Timer, AsksTheTimerProcessAndTakesItsOwnTicksOnly) {
    std::unique_ptr<CTimer> timer;
    const std::string stored = "000d0c0b0a0403020107";
    const auto isTime = [&] { return timer->isTime(); };
    const auto make = [&] {
        timer.reset(object->CreateTimer(0x01020304, 0x0A0B0C0D, 7));
        return 0;
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
    const auto ofOthers = [&] {
        tick({8});
        message(getppid(), "\x07 is not from the timer process");
        return timer->isTime();
    };
    // clang-format off
    const struct {
        const char* why;
        std::function<int()> step;
        int result;
        std::string request;  // its bytes but for the five zeros behind them
    } steps[] = {
        {"made",                make,                                                    0,  stored},
        {"no tick yet",         isTime,                                                  0,  ""},
        {"ticks of others",     ofOthers,                                                0,  ""},
        {"looks past those",    [&] { tick({7, 7}); return timer->isTime(); },           1,  ""},
        {"takes one at a time", isTime,                                                  1,  ""},
        {"and no more",         isTime,                                                  0,  ""},
        {"drops former ticks",  [&] { tick({7}); return timer->Restart(500, 2); },       0,  "0002000000f401000007"},
        {"dropped",             isTime,                                                  0,  ""},
        {"with what is stored", [&] { return timer->Restart(0, 9); },                    0,  stored},
        {"likewise",            [&] { return timer->Reset(); },                          0,  stored},
        {"as asked",            [&] { return timer->SendToTimer(1, 3); },                0,  "00030000000100000007"},
        {"takes all that came", [&] { tick({7, 7}); return timer->WaitTime(); },         0,  ""},
        {"taken",               isTime,                                                  0,  ""},
        {"waits for the next",  waitForLater,                                            0,  ""},
        {"ends it",             [&] { tick({7}); return timer->Delete(); },              0,  "00000000000000000007"},
        {"no tick is left",     isTime,                                                  0,  ""},
        {"others' are left",    [&] { return object->getNumMsg_SR(); },                  2,  ""},
        {"its process ends",    [&] { kill(process.pid(), SIGKILL); return process.wait(); }, 128 + SIGKILL, ""},
        {"none to wait for",    [&] { return timer->WaitTime(); },                       -1, ""},
        {"none to ask",         [&] { return timer->Restart(100, 0); },                  -1, ""},
        {"none to end it",      [&] { return timer->Delete(); },                         -1, ""},
    };
    // clang-format on
    for (const auto& step : steps) {
        SCOPED_TRACE(step.why);
        const std::size_t before = process.out().size();
        EXPECT_EQ(step.step(), step.result);
        EXPECT_EQ(process.out().substr(before),
                  step.request.empty() ? "" : step.request + "0000000000\n");
    }
}

}  // namespace
