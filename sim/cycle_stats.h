#pragma once

#include <chrono>
#include <fstream>
#include <iosfwd>
#include <string>

namespace sim {

/// Durations and lateness of the controller's cycles.
class CycleStats {
  public:
    using Clock = std::chrono::steady_clock;
    using Duration = Clock::duration;

    /// From now on each cycle adds a line to the file, which is emptied first: planned time on the
    /// monotonic clock, lateness and duration, in microseconds.
    /// @throws Failure  when the file cannot be opened
    void logTo(const std::string& path);

    /// @param due       the cycle's planned time
    /// @param lateness  how long after it the cycle began
    void add(Clock::time_point due, Duration length, Duration lateness);

    /// A cycle that was skipped because the one before took too long.
    void addSkipped() { ++skipped_; }

    /// One line in Russian.
    void print(std::ostream& out) const;

  private:
    unsigned long cycles_ = 0;
    unsigned long skipped_ = 0;
    Duration total_{};
    Duration longest_{};
    Duration latest_{};
    std::ofstream log_;
};

}  // namespace sim
