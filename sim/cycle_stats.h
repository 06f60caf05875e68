#pragma once

#include <chrono>
#include <iosfwd>

namespace sim {

/// Durations and lateness of the controller's cycles.
class CycleStats {
  public:
    using Duration = std::chrono::steady_clock::duration;

    /// @param lateness  how long after its planned time the cycle began
    void add(Duration length, Duration lateness);

    /// A cycle that was left out because the one before took too long.
    void addSkipped() { ++skipped_; }

    /// One line in Russian.
    void print(std::ostream& out) const;

  private:
    unsigned long cycles_ = 0;
    unsigned long skipped_ = 0;
    Duration total_{};
    Duration longest_{};
    Duration latest_{};
};

}  // namespace sim
