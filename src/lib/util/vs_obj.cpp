#include "lib/util/vs_obj.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include "lib/util/abs_time.h"
#include "lib/util/qnx_calls.h"
#include "lib/util/shmem.h"

vs_obj* All = nullptr;

// ---- The interval timer while an operation waits ----

namespace {

constexpr long kUsPerSec = 1'000'000;
constexpr long kTickUs = 100'000;
constexpr long kLeastRestUs = 10'000;

long toUs(const timeval& time) {
    return time.tv_sec * kUsPerSec + time.tv_usec;
}
timeval toTimeval(long us) {
    return {us / kUsPerSec, us % kUsPerSec};
}

void setRealTimer(long firstUs, long everyUs, itimerval* former, const char* label) {
    const itimerval timer{toTimeval(everyUs), toTimeval(firstUs)};
    if (setitimer(ITIMER_REAL, &timer, former) == -1) std::perror(label);
}

// Stops the caller's timer for a scope. At the end of the scope the timer continues, less the time
// that the scope took; a timer that was off stays off. That time is measured and not counted in
// ticks, because every signal ends a wait, not only a tick.
class CallerTimerStopped {
  public:
    CallerTimerStopped(const char* stopLabel, const char* restoreLabel)
        : restoreLabel_(restoreLabel) {
        setRealTimer(0, 0, &former_, stopLabel);
    }
    ~CallerTimerStopped() {
        const long restUs = toUs(former_.it_value);
        if (restUs == 0) return;
        const auto spent = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now() - begin_);
        const long reducedUs = restUs - static_cast<long>(spent.count());
        setRealTimer(reducedUs > 0 ? reducedUs : kLeastRestUs, toUs(former_.it_interval), nullptr,
                     restoreLabel_);
    }
    CallerTimerStopped(const CallerTimerStopped&) = delete;
    CallerTimerStopped& operator=(const CallerTimerStopped&) = delete;

  private:
    const char* restoreLabel_;
    itimerval former_{};
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

// Ticks every 100 ms for a scope. Each tick ends a blocking queue call (the kernel restarts none of
// them), so that the waiting loop can look whether its peer lives.
class Ticks {
  public:
    Ticks(const char* startLabel, const char* stopLabel) : stopLabel_(stopLabel) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &former_);
        setRealTimer(kTickUs, kTickUs, nullptr, startLabel);
    }
    ~Ticks() {
        setRealTimer(0, 0, nullptr, stopLabel_);
        // The default action would end the process, and a tick may still be pending. So if the
        // caller had the default action, the handler that does nothing stays installed.
        const bool isDefault =
            (former_.sa_flags & SA_SIGINFO) == 0 && former_.sa_handler == SIG_DFL;
        if (!isDefault) sigaction(SIGALRM, &former_, nullptr);
    }
    Ticks(const Ticks&) = delete;
    Ticks& operator=(const Ticks&) = delete;

  private:
    const char* stopLabel_;
    struct sigaction former_ {};
};

// ---- One queue message ----

constexpr std::size_t kHeadBytes = sizeof(vs_message::pid);
constexpr std::size_t kTextMax = kHeadBytes + vs_message::kDataMax;

ssize_t sendNow(int queue, const vs_message& message, unsigned int len, int flags) {
    return msgsnd(queue, &message, kHeadBytes + len, flags);
}

ssize_t receiveNow(int queue, vs_message& message, int flags) {
    message = vs_message{};
    return msgrcv(queue, &message, kTextMax, getpid(), flags);
}

// Tries a queue call without waiting and, if that fails, waits in it as long as the peer lives.
// Returns the call's result; -1 with ESRCH when the peer is gone.
template <class Call>
ssize_t callWhileAlive(Call call, int peer) {
    const ssize_t atOnce = call(IPC_NOWAIT);
    if (atOnce != -1) return atOnce;

    // Most callers have already stopped the timer; this then finds it off and leaves it off.
    const CallerTimerStopped timer("setitimer7", "setitimer8");
    const Ticks running("setitimer9", "setitimer10");
    ssize_t result = -1;
    while ((result = call(0)) == -1 && errno == EINTR) {
        if (findpid(peer) == 0) continue;
        errno = ESRCH;
        break;
    }
    return result;
}

ssize_t sendWaiting(int queue, const vs_message& message, unsigned int len, int peer) {
    return callWhileAlive([&](int flags) { return sendNow(queue, message, len, flags); }, peer);
}

ssize_t receiveWaiting(int queue, vs_message& message, int peer) {
    const ssize_t got =
        callWhileAlive([&](int flags) { return receiveNow(queue, message, flags); }, peer);
    // A message that the peer sent just before it ended still counts.
    return got == -1 && errno == ESRCH ? receiveNow(queue, message, IPC_NOWAIT) : got;
}

// A signal does not end the wait.
ssize_t receiveFromAnybody(int queue, vs_message& message) {
    ssize_t got = -1;
    do {
        got = receiveNow(queue, message, 0);
    } while (got == -1 && errno == EINTR);
    return got;
}

void copyOut(const vs_message& message, void* to, unsigned int len) {
    const std::size_t bytes = std::min<std::size_t>(len, vs_message::kDataMax);
    if (bytes != 0) std::memcpy(to, message.data, bytes);
}

}  // namespace

// ---- The object ----

vs_obj::vs_obj() : vs_shm(kRegistryIpcIndex), ProxyTimer(name_find("proxytimer")) {
    if (ProxyTimer == -1) {
        ProxyTimer = getpid();
        std::printf("vs_shm: ProxyTimer=%d\n", ProxyTimer);
    }
    constexpr int kQueuePerm = 0666;
    SR_id = msgget(sem_key, kQueuePerm | IPC_CREAT | IPC_EXCL);
    crSRR = SR_id != -1 ? 1 : 0;
    if (crSRR == 0) SR_id = msgget(sem_key, IPC_CREAT);
    if (SR_id == -1) std::perror("msgget(SR)");
    RS_id = msgget(sem_key + 1, kQueuePerm | IPC_CREAT | IPC_EXCL);
    madeReplies_ = RS_id != -1;
    if (!madeReplies_) RS_id = msgget(sem_key + 1, kQueuePerm | IPC_CREAT);
    if (RS_id == -1) std::perror("msgget(RS)");
}

vs_obj::~vs_obj() {
    // Another process may already have removed them; there is nothing left to do then.
    if (crSRR != 0) static_cast<void>(msgctl(SR_id, IPC_RMID, nullptr));
    if (madeReplies_) static_cast<void>(msgctl(RS_id, IPC_RMID, nullptr));
}

bool vs_obj::fill(int addressee, const void* data, unsigned int len) {
    if (len > vs_message::kDataMax) {
        errno = EMSGSIZE;
        std::perror("Send");
        return false;
    }
    mess = vs_message{};
    mess.type = addressee;
    mess.pid = getpid();
    if (len != 0) std::memcpy(mess.data, data, len);
    return true;
}

int vs_obj::Send(int pid, void* smsg, void* rmsg, unsigned int slen, unsigned int rlen) {
    // A process that waits for itself would never get an answer.
    if (pid == getpid() || findpid(pid) != 0) return -1;
    if (rlen > vs_message::kDataMax) {
        errno = EMSGSIZE;
        std::perror("Send");
        return -1;
    }
    if (!fill(pid, smsg, slen)) return -1;
    const CallerTimerStopped timer("setitimer1", "setitimer2");
    if (sendWaiting(SR_id, mess, slen, pid) == -1 || receiveWaiting(RS_id, mess, pid) == -1) {
        // A peer that ended (no message after its end) is an answer, not a fault of the queue.
        if (errno != ESRCH && errno != ENOMSG) std::perror("Send");
        return -1;
    }
    copyOut(mess, rmsg, rlen);
    return 0;
}

// Notes the length of the request in `mess`.
bool vs_obj::taken(ssize_t got) {
    if (got == -1) return false;
    const auto bytes = static_cast<std::size_t>(got);
    receivedLen_ = static_cast<unsigned int>(bytes > kHeadBytes ? bytes - kHeadBytes : 0);
    return true;
}

// Hands the request in `mess` out when it comes from the wanted process, else puts it back.
int vs_obj::accept(int pid, void* msg, unsigned int len) {
    if (pid != 0 && mess.pid != pid) {
        static_cast<void>(BackToSR(receivedLen_));  // reported there; the answer is -1 anyway
        return -1;
    }
    copyOut(mess, msg, len);
    return mess.pid;
}

int vs_obj::Receive(int pid, void* msg, unsigned int len) {
    ssize_t got = -1;
    if (pid == 0) {
        got = receiveFromAnybody(SR_id, mess);
    } else {
        std::optional<CallerTimerStopped> timer;
        if (findpid(pid) == 0) timer.emplace("setitimer3", "setitimer4");
        got = receiveWaiting(SR_id, mess, pid);
    }
    return taken(got) ? accept(pid, msg, len) : -1;
}

int vs_obj::Creceive(int pid, void* msg, unsigned int len) {
    const ssize_t got = receiveNow(SR_id, mess, IPC_NOWAIT);
    if (taken(got)) return accept(pid, msg, len);
    return errno == ENOMSG ? -ENOENT : -1;
}

int vs_obj::Creceive_QNXStyle(int pid, void* msg, unsigned int len) {
    if (pid == 0) return Creceive(0, msg, len);
    for (int left = getNumMsg_SR(); left > 0; --left) {
        const int sender = Creceive(pid, msg, len);
        if (sender != -1) return sender;
    }
    return -ENOENT;
}

int vs_obj::ReceiveWithTimeout(int pid, void* msg, unsigned int len, unsigned long ms) {
    constexpr unsigned int kPollMs = 50;
    const long deadline =
        abs_clock() + static_cast<long>(ms * static_cast<unsigned long>(ABSCLOCKS_PER_SEC) / 1000);
    // The first look does not depend on the clock, which may tick on meanwhile.
    do {
        // Reaps a child; does nothing for other processes. 0 would reap any child.
        if (pid > 0) static_cast<void>(waitpid(pid, nullptr, WNOHANG));
        if (findpid(pid) != 0) return -1;
        const int sender = Creceive_QNXStyle(pid, msg, len);
        if (sender > 0) return sender;
        delay(kPollMs);
    } while (abs_clock() <= deadline);
    return -ENOENT;
}

int vs_obj::Reply(int pid, void* msg, unsigned int len, char keepTimer) {
    if (!fill(pid, msg, len)) return -1;
    std::optional<CallerTimerStopped> timer;
    if (keepTimer == 0) timer.emplace("setitimer5", "setitimer6");
    if (sendWaiting(RS_id, mess, len, pid) != -1) return 0;
    if (errno != ESRCH) std::perror("Send");
    return -1;
}

void vs_obj::dropStaleReplies() {
    while (receiveNow(RS_id, mess, IPC_NOWAIT) != -1) {
    }
}

int vs_obj::BackToSR(unsigned int len) {
    if (len > vs_message::kDataMax) errno = EMSGSIZE;
    if (len <= vs_message::kDataMax && sendWaiting(SR_id, mess, len, getpid()) != -1) return 0;
    std::perror("BackToSR");
    return -1;
}

int vs_obj::getNumMsg_SR() const {
    msqid_ds queue{};
    if (msgctl(SR_id, IPC_STAT, &queue) == -1) return -1;
    return static_cast<int>(queue.msg_qnum);
}
