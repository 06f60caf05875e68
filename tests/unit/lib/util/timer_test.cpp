#include "lib/util/timer.h"

#include <gtest/gtest.h>
#include <sys/msg.h>

#include <cstring>
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
    // One byte from the timer process.
    void tick(int id) const { message(process.pid(), {static_cast<char>(id)}); }
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
    tick(0xEE);
    EXPECT_EQ(timer->Restart(500, 2), 0);
    EXPECT_FALSE(timer->isTime()) << "the tick of before is dropped";
    EXPECT_EQ(timer->Restart(0, 9), 0) << "with what is stored";
    EXPECT_EQ(timer->Reset(), 0) << "likewise";
    EXPECT_EQ(timer->SendToTimer(1, 3), 0);
    tick(0xEE);
    EXPECT_EQ(timer->Delete(), 0);
    EXPECT_FALSE(timer->isTime());
    const std::string stored = "000d0c0b0a04030201ee0000000000\n";
    const std::string out = process.out();
    EXPECT_EQ(out.substr(out.find("ready")),
              "ready\n" + stored + "0002000000f4010000ee0000000000\n" + stored + stored +
                  "000300000001000000ee0000000000\n"
                  "000000000000000000ee0000000000\n");
}

TEST_F(Timer, SeesAndWaitsForItsOwnTicksOnly) {
    CTimer timer(object.get(), 100, 0, 7);
    EXPECT_FALSE(timer.isTime());
    message(getppid(), "\x07 is not from the timer process");
    for (const int id : {8, 7, 7})
        tick(id);
    EXPECT_TRUE(timer.isTime());
    EXPECT_TRUE(timer.isTime());
    EXPECT_FALSE(timer.isTime());
    for (const int id : {7, 7})
        tick(id);
    EXPECT_EQ(timer.WaitTime(), 0);
    EXPECT_EQ(object->getNumMsg_SR(), 2) << "took all that came for it";
    std::thread ticker([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        tick(7);
    });
    EXPECT_EQ(timer.WaitTime(), 0);
    ticker.join();

    EXPECT_TRUE(CTimer(object.get(), 100, 0, 8).isTime());
    char data[40] = {};
    EXPECT_EQ(object->Creceive(0, data, sizeof data), getppid());
    EXPECT_STREQ(data, "\x07 is not from the timer process");
}

TEST_F(Timer, FailsWhenTheTimerProcessIsGone) {
    CTimer timer(object.get(), 100, 0, 7);
    kill(process.pid(), SIGKILL);
    process.wait();
    EXPECT_EQ(timer.WaitTime(), -1);
    EXPECT_EQ(timer.Restart(100, 0), -1);
    EXPECT_EQ(timer.Delete(), -1);
    EXPECT_FALSE(timer.isTime());
}

}  // namespace
