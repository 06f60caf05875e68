#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

/// What the scheduler has counted for all threads of a process since they began.
struct ProcessTime {
    std::chrono::nanoseconds running{0};
    std::chrono::nanoseconds waiting{0};  // ready to run while another program had the core
};

/// Read from schedstat, which counts nanoseconds; the ticks of "stat" (10 ms) are too coarse for an
/// idle server. Throws when the process is gone.
inline ProcessTime processTime(int pid) {
    ProcessTime total;
    const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        std::ifstream file(task.path() / "schedstat");
        long long running = 0;
        long long waiting = 0;
        if (!(file >> running >> waiting)) throw std::runtime_error("cannot read " + tasks);
        total.running += std::chrono::nanoseconds(running);
        total.waiting += std::chrono::nanoseconds(waiting);
    }
    return total;
}

/// A period of wall-clock time, and what a process did in it. All in seconds.
class ProcessWindow {
  public:
    explicit ProcessWindow(int pid) : pid_(pid), begin_(processTime(pid)) {}

    double elapsed() const {
        return std::chrono::duration<double>(Clock::now() - beginTime_).count();
    }
    /// `elapsed`, `running` and `waiting` up to now, as members of a JSON object.
    std::string json() const {
        const ProcessTime now = processTime(pid_);
        return R"("seconds": )" + std::to_string(elapsed()) + R"(, "running": )" +
               text(now.running - begin_.running) + R"(, "waiting": )" +
               text(now.waiting - begin_.waiting);
    }

  private:
    using Clock = std::chrono::steady_clock;

    static std::string text(std::chrono::nanoseconds time) {
        return std::to_string(std::chrono::duration<double>(time).count());
    }

    int pid_;
    ProcessTime begin_;
    Clock::time_point beginTime_ = Clock::now();
};

}  // namespace bench
