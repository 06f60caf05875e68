#pragma once

#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iosfwd>

#include "sim/plant/plant.h"
#include "sim/trends/trend_recorder.h"

namespace sim {

/// Lets the plant live through the past of an archive, a second at a time.
class Past {
  public:
    /// @param length  up to `now`; what the archive holds already is not made again
    /// @param stop    becomes non-zero when the program has to end; then the past stays incomplete
    Past(TrendRecorder& recorder, std::chrono::seconds length, std::ostream& out,
         const volatile std::sig_atomic_t& stop)
        : recorder_(recorder), length_(length), out_(out), stop_(stop) {}

    /// Says how large the archive will be, and throws Failure when the disk has no room for it.
    /// @param folder  where the archive lies
    void announce(const std::filesystem::path& folder, timeval now);

    /// Fills the archive up to the moment when it is done, and reports its progress. Throws
    /// trends::ArchiveError.
    /// @param clock  what time it is
    void make(Plant& plant, timeval (*clock)());

  private:
    using Clock = std::chrono::steady_clock;

    void tellProgress(std::int64_t made);

    TrendRecorder& recorder_;
    std::chrono::seconds length_;
    std::ostream& out_;
    const volatile std::sig_atomic_t& stop_;
    timeval begin_{};
    std::int64_t seconds_ = 0;  // to make, without those that pass meanwhile
    Clock::time_point nextProgress_;
};

}  // namespace sim
