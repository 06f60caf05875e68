#pragma once

#include <cstdint>

class vs_obj;

/// A timer run by the controller's timer process ("proxytimer"), which sends this process a message
/// of one byte, the timer's id, at each tick.
///
/// The timer process answers every request. Without a timer process, or after its end, requests
/// fail with -1 and no ticks arrive.
class CTimer {
  public:
    /// Stores the settings and asks the timer process to start.
    /// @param channel  not owned, must outlive the timer
    /// @param time     period in units of the timer process
    /// @param kv       the timer process's own parameter, handed on as it is
    /// @param id       distinguishes this process's timers
    CTimer(vs_obj* channel, unsigned int time, unsigned int kv, unsigned char id);

    /// True when a tick of this timer is waiting; takes one. Other messages stay in the queue, but
    /// their order may change.
    bool isTime();

    /// Waits for a tick of this timer, looking every 10 ms, and takes all that are waiting.
    /// @return 0; -1 when the timer process no longer exists.
    int WaitTime();

    /// Drops waiting ticks and requests a restart, with the constructor's settings when `time` is 0
    /// (`kv` is then ignored). The stored settings do not change.
    /// @return 0, -1 on failure.
    int Restart(unsigned int time, unsigned int kv);

    /// Restarts with the settings of the constructor.
    /// @return 0, -1 on failure.
    int Reset();

    /// Asks the timer process to stop (a request of time 0 and kv 0) and drops waiting ticks.
    /// @return 0, -1 on failure.
    int Delete();

    /// Sends a request with these settings and this timer's id.
    /// @return 0, -1 on failure.
    int SendToTimer(unsigned int time, unsigned int kv);

    // Names as the controller's other code has them.
    struct {
        std::uint32_t kv;
    } st_proc;
    std::uint32_t cur_time;
    std::uint8_t id_timer;
    int ProxyTimer;  ///< pid of the timer process
    vs_obj* object;  ///< channel; not owned

  private:
    void dropTicks();
};
