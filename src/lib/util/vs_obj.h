#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "lib/util/vs_shm.h"

class CTimer;

/// A message in the controller's queues, as the kernel takes it. What counts as its size there is
/// the part after `type`: 4 + the length of the data.
struct vs_message {
    static constexpr std::size_t kDataMax = 4076;

    long type;                     ///< process id of the addressee
    std::int32_t pid;              ///< process id of the sender
    unsigned char data[kDataMax];  ///< zero beyond the data sent
};
static_assert(offsetof(vs_message, data) == sizeof(long) + 4);
static_assert(sizeof(vs_message) == sizeof(long) + 4080);

/// Synchronous messages between the controller's processes: a sender waits for the reply. Two
/// System V queues carry all of them, one for requests and one for replies, addressed by process
/// id.
///
/// One per process, used from one thread: all operations share one buffer. Data is 0 to 4076 bytes;
/// a longer request or reply is refused with -1 and EMSGSIZE. While an operation waits, it runs the
/// real-time interval timer at 100 ms. A timer that the caller had running is restored afterwards,
/// less the time waited (at least 10 ms remain); one that was off stays off. SIGALRM gets a handler
/// that does nothing; the caller's own handler is restored after the wait.
class vs_obj : public vs_shm {
  public:
    /// Joins (or makes) the name registry and both queues, and looks up the timer process.
    vs_obj();
    /// Removes each of the two queues that this object made, then the registry as vs_shm does.
    ~vs_obj() override;

    /// Sends a request and waits for its reply, as long as the addressee lives.
    /// @param rmsg  receives `rlen` bytes: the reply, zeros beyond its end. Untouched on failure.
    ///              May be null when `rlen` is 0.
    /// @return 0; -1 when the addressee does not exist, is this process, or ends before it replied.
    int Send(int pid, void* smsg, void* rmsg, unsigned int slen, unsigned int rlen);

    /// Waits for a request to this process.
    /// @param pid  0: from anybody. Otherwise from this process only; -1 when it ends.
    /// @param msg  receives `len` bytes, zeros beyond the message's end
    /// @return the sender's pid; -1 when another process's message came (it is put back, behind the
    ///         others) or the queue is gone. A signal does not end the wait.
    int Receive(int pid, void* msg, unsigned int len);

    /// As Receive, without waiting: -ENOENT when no request to this process is there.
    int Creceive(int pid, void* msg, unsigned int len);

    /// As Creceive, but looks past the requests of others, which are put back.
    int Creceive_QNXStyle(int pid, void* msg, unsigned int len);

    /// Waits for a request of one process for `ms` milliseconds at most, looking every 50 ms and
    /// at once: 0 ms takes what is there.
    /// @param pid  when it is a child that has ended, it is reaped
    /// @return the sender's pid; -1 when the process does not exist, -ENOENT when the time is over.
    int ReceiveWithTimeout(int pid, void* msg, unsigned int len, unsigned long ms);

    /// Answers the request of a process.
    /// @param keepTimer  non-zero: the caller's interval timer is left running
    /// @return 0, -1 on failure.
    int Reply(int pid, void* msg, unsigned int len, char keepTimer);

    /// Discards the replies that wait for this process. Before its first Send they can only be
    /// meant for an earlier process with the same id, which ended before it took them.
    void dropStaleReplies();

    /// Puts the request received last back on its queue, with `len` bytes of its data.
    /// @return 0, -1 on failure.
    int BackToSR(unsigned int len);

    /// Requests in the queue, of all processes; -1 on failure.
    int getNumMsg_SR() const;

    /// Starts a timer. The caller owns it (delete); this object must outlive it.
    /// @param time, kv, id  see CTimer
    CTimer* CreateTimer(unsigned int time, unsigned int kv, unsigned char id);

    // Names as the controller's other code has them.
    int SR_id = -1;      ///< kernel id of the request queue
    int RS_id = -1;      ///< kernel id of the reply queue
    BOOL crSRR = 0;      ///< this object made the request queue
    vs_message mess{};   ///< buffer of all operations
    int ProxyTimer = 0;  ///< process "proxytimer", this process when there is none

  private:
    bool fill(int addressee, const void* data, unsigned int len);
    bool taken(ssize_t got);
    int accept(int pid, void* msg, unsigned int len);

    bool madeReplies_ = false;      // this object made the reply queue
    unsigned int receivedLen_ = 0;  // data bytes of the request in `mess`
};

/// The process's message object: null until the start-up made it and after the tear-down. Not owned
/// here.
extern vs_obj* All;
