#include "lib/util/timer.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "lib/util/vs_obj.h"
#include "support/capture.h"
#include "support/child_process.h"
#include "support/vesk_path.h"
#include "support/wait_until.h"

namespace {

std::string hex(const unsigned char* bytes, std::size_t count) {
    std::string text;
    char part[3];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(part, sizeof part, "%02x", bytes[i]);
        text += part;
    }
    return text;
}

// The controller's timer process, as far as a client sees it: answers every request and prints it.
class Timer : public testing::Test {
  protected:
    Timer() : process(serve) {
        const Capture out(STDOUT_FILENO);
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
            unsigned char data[20] = {};
            const int client = channel.Receive(0, data, sizeof data);
            if (client == -1) continue;
            std::puts(hex(data, sizeof data).c_str());  // before the client goes on
            channel.Reply(client, nullptr, 0, 0);
        }
    }
    std::string requests() const {
        const std::string all = process.out();
        return all.substr(all.find("ready\n") + 6);
    }
    // One byte from the timer process, or from another one.
    void tick(unsigned char id) const {
        message(process.pid(), std::string(1, static_cast<char>(id)));
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

    const VeskPath path;
    ChildProcess process;
    std::unique_ptr<vs_obj> object;
};

TEST_F(Timer, RequestsAreFourteenBytes) {
    const std::unique_ptr<CTimer> timer(object->CreateTimer(0x01020304, 0x0A0B0C0D, 0xEE));
    EXPECT_EQ(timer->cur_time, 0x01020304U);
    EXPECT_EQ(timer->st_proc.kv, 0x0A0B0C0DU);
    EXPECT_EQ(timer->id_timer, 0xEE);
    tick(0xEE);
    EXPECT_EQ(timer->Restart(500, 2), 0);
    EXPECT_FALSE(timer->isTime()) << "the tick of before is dropped";
    EXPECT_EQ(timer->Restart(0, 9), 0);
    EXPECT_EQ(timer->Reset(), 0);
    EXPECT_EQ(timer->SendToTimer(1, 3), 0);
    tick(0xEE);
    EXPECT_EQ(timer->Delete(), 0);
    EXPECT_FALSE(timer->isTime());
    const std::string stored = "000d0c0b0a04030201ee00000000000000000000\n";
    EXPECT_EQ(requests(), stored +                                          // made
                              "0002000000f4010000ee00000000000000000000\n"  // restarted with 500, 2
                              + stored + stored +                           // with what is stored
                              "000300000001000000ee00000000000000000000\n"
                              "000000000000000000ee00000000000000000000\n");  // deleted
}

TEST_F(Timer, SeesItsOwnTicksOnly) {
    CTimer timer(object.get(), 100, 0, 7);
    EXPECT_FALSE(timer.isTime());
    message(getppid(), "\x07 is not from the timer process");
    tick(8);
    tick(7);
    tick(7);
    EXPECT_TRUE(timer.isTime());
    EXPECT_TRUE(timer.isTime());
    EXPECT_FALSE(timer.isTime());
    EXPECT_EQ(object->getNumMsg_SR(), 2) << "other messages stay";
    CTimer other(object.get(), 100, 0, 8);
    EXPECT_TRUE(other.isTime());
    char data[40] = {};
    EXPECT_EQ(object->Creceive(0, data, sizeof data), getppid());
    EXPECT_STREQ(data, "\x07 is not from the timer process");
}

TEST_F(Timer, WaitsForATickAndTakesAllThatCame) {
    CTimer timer(object.get(), 100, 0, 7);
    tick(7);
    tick(7);
    EXPECT_EQ(timer.WaitTime(), 0);
    EXPECT_EQ(object->getNumMsg_SR(), 0);

    tick(8);
    ChildProcess ticker([this, client = getpid()] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        struct {
            long type;
            int sender;
            char id;
        } raw{client, process.pid(), 7};
        return msgsnd(object->SR_id, &raw, 5, 0) == 0 ? 0 : 1;
    });
    EXPECT_EQ(timer.WaitTime(), 0);
    EXPECT_EQ(ticker.wait(), 0);
    EXPECT_EQ(object->getNumMsg_SR(), 1) << "the other timer's";
}

TEST_F(Timer, FailsWhenTheTimerProcessIsGone) {
    CTimer timer(object.get(), 100, 0, 7);
    kill(process.pid(), SIGKILL);
    process.wait();
    EXPECT_EQ(timer.WaitTime(), -1);
    EXPECT_EQ(timer.Restart(100, 0), -1);
    EXPECT_EQ(timer.Delete(), -1);

    const Capture out(STDOUT_FILENO);
    vs_obj without;
    CTimer none(&without, 100, 0, 7);
    EXPECT_EQ(none.ProxyTimer, getpid());
    EXPECT_EQ(none.SendToTimer(100, 0), -1) << "there never was one";
    EXPECT_FALSE(none.isTime());
}

}  // namespace
