#include "lib/util/timer.h"

#include <cstddef>

#include "lib/util/qnx_calls.h"
#include "lib/util/vs_obj.h"

namespace {

// Request to the timer process, in the layout of the message.
#pragma pack(push, 1)
struct TimerRequest {
    std::uint8_t zero = 0;          //  0
    std::uint32_t kv;               //  1
    std::uint32_t time;             //  5
    std::uint8_t id;                //  9
    std::uint8_t reserved[4] = {};  // 10
};
#pragma pack(pop)
static_assert(sizeof(TimerRequest) == 14);
static_assert(offsetof(TimerRequest, kv) == 1);
static_assert(offsetof(TimerRequest, id) == 9);

// A tick is one byte of data, the timer's id.
constexpr unsigned int kTickBytes = 1;

}  // namespace

CTimer::CTimer(vs_obj* channel, unsigned int time, unsigned int kv, unsigned char id)
    : st_proc{kv}, cur_time(time), id_timer(id), ProxyTimer(channel->ProxyTimer), object(channel) {
    static_cast<void>(
        SendToTimer(time, kv));  // without a timer process no tick comes, as documented
}

int CTimer::SendToTimer(unsigned int time, unsigned int kv) {
    TimerRequest request{.kv = kv, .time = time, .id = id_timer};
    return object->Send(ProxyTimer, &request, nullptr, sizeof request, 0);
}

bool CTimer::isTime() {
    for (int left = object->getNumMsg_SR(); left > 0; --left) {
        std::uint8_t id = 0;
        const int sender = object->Creceive(ProxyTimer, &id, kTickBytes);
        if (sender == -1) continue;  // another process's message, already put back in the queue
        if (sender != ProxyTimer) return false;
        if (id == id_timer) return true;
        static_cast<void>(
            object->BackToSR(kTickBytes));  // another timer's; a failure is reported there
    }
    return false;
}

int CTimer::WaitTime() {
    constexpr unsigned int kPollMs = 10;
    // The number of messages alone does not show a new one: one may leave while another arrives. So
    // the queue is also checked after this many polls.
    constexpr int kPollsAtMost = 100;
    for (;;) {
        const int number = object->getNumMsg_SR();
        if (isTime()) {
            dropTicks();
            return 0;
        }
        if (findpid(ProxyTimer) != 0) return -1;
        for (int i = 0; i < kPollsAtMost && object->getNumMsg_SR() == number; ++i)
            delay(kPollMs);
    }
}

void CTimer::dropTicks() {
    while (isTime()) {
    }
}

int CTimer::Restart(unsigned int time, unsigned int kv) {
    dropTicks();
    return time != 0 ? SendToTimer(time, kv) : SendToTimer(cur_time, st_proc.kv);
}

int CTimer::Reset() {
    return Restart(0, 0);
}

int CTimer::Delete() {
    const int result = SendToTimer(0, 0);
    dropTicks();
    return result;
}

// Here, so that the channel need not know its timers.
CTimer* vs_obj::CreateTimer(unsigned int time, unsigned int kv, unsigned char id) {
    return new CTimer(this, time, kv, id);
}
