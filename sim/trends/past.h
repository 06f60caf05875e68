#pragma once

#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iosfwd>

#include "sim/plant/plant.h"
#include "sim/trends/trend_recorder.h"

namespace sim {

/// Runs the plant through an archive's past, one second at a time.
class Past {
  public:
    /// @param length  up to `now`; values that the archive already has are not made again
    /// @param stop    becomes non-zero when the program must end; the past stays incomplete then
    Past(TrendRecorder& recorder, std::chrono::seconds length, std::ostream& out,
         const volatile std::sig_atomic_t& stop)
        : recorder_(recorder), length_(length), out_(out), stop_(stop) {}

    /// Prints how large the archive will be, and throws Failure when the disk has no room for it.
    /// @param folder  the archive's folder
    void announce(const std::filesystem::path& folder, timeval now);

    /// Fills the archive up to the time at which it completes, and reports its progress. Throws
    /// trends::ArchiveError.
    /// @param clock  returns the current time
    void make(Plant& plant, timeval (*clock)());

  private:
    using Clock = std::chrono::steady_clock;

    void tellProgress(std::int64_t made);

    TrendRecorder& recorder_;
    std::chrono::seconds length_;
    std::ostream& out_;
    const volatile std::sig_atomic_t& stop_;
    timeval begin_{};
    std::int64_t seconds_ = 0;  // to make, not counting those that pass meanwhile
    Clock::time_point nextProgress_;
};

}  // namespace sim
