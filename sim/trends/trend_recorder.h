#pragma once

#include <sys/time.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/trends/standin/archive_writer.h"
#include "sim/trends/pen_sampler.h"

namespace sim {

/// The controller's trend recorder: writes the pens' values to the archive once a second. It writes
/// in its own thread, so that a slow disk delays no cycle.
///
/// While the archive cannot be written (disk full, locked for a long time), values wait and the
/// recorder tries again; beyond kMostWaiting the oldest are lost.
class TrendRecorder {
  public:
    static constexpr std::size_t kMostWaiting = 100'000;  // values, 32 bytes each
    static constexpr auto kRetryAfter = std::chrono::seconds(2);

    /// Opens the archive, creating it if it is missing. Throws trends::ArchiveError.
    /// @param keep  recorded time that stays in the archive; older values are removed within an
    ///              hour
    TrendRecorder(std::filesystem::path archive, const trends::Definitions& definitions,
                  const DatabaseMemory& memory, std::chrono::seconds keep);
    ~TrendRecorder();  // as close
    TrendRecorder(const TrendRecorder&) = delete;
    TrendRecorder& operator=(const TrendRecorder&) = delete;

    /// Writes the values that are due to the archive at once, for a past made before the recorder
    /// starts; they are kept with the next `commit`. Throws trends::ArchiveError.
    void recordPast(timeval time);
    void commit();

    /// What earlier runs recorded, up to `until` (us since 1970). Only before `start`.
    [[nodiscard]] std::optional<trends::ArchiveWriter::Span> earlierSpan(std::int64_t until) {
        return writer_->spanAtOpening(until);
    }

    /// From now on the thread owns the archive.
    void start();

    /// Takes the values that are due at `now`. Takes microseconds of the cycle.
    void record(timeval now);

    /// Writes the remaining values, with one last attempt, and closes the archive. Nothing is
    /// recorded later.
    void close();

    /// Lines for the operator since the last call: that writing fails, that it works again, what
    /// was lost. Usually empty.
    [[nodiscard]] std::string takeMessages();

    [[nodiscard]] const PenSampler& sampler() const { return sampler_; }

  private:
    using Clock = std::chrono::steady_clock;

    void handOver();
    void writeUntilClosed();
    [[nodiscard]] bool waitForWork();
    void tryToWrite();
    void write();
    void closeArchive();
    void noteFailure(const char* error);
    void noteSuccess();
    void dropTooMany();
    void say(const std::string& line);

    const std::filesystem::path archive_;
    const trends::Definitions definitions_;
    const std::chrono::microseconds keep_;
    PenSampler sampler_;
    std::vector<PenValue> collected_;  // since the last hand-over
    std::int64_t handedOverAt_ = 0;    // us since 1970

    // Of the thread, once it runs.
    std::unique_ptr<trends::ArchiveWriter> writer_;  // none after a failure
    std::deque<PenValue> writing_;                   // not committed yet
    std::optional<Clock::time_point> cleanedAt_;
    std::optional<Clock::time_point> failingSince_;

    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::deque<PenValue> waiting_;  // handed over, oldest first
    std::size_t lost_ = 0;          // values, not reported yet
    std::string messages_;
    bool closing_ = false;
    std::thread thread_;
};

}  // namespace sim
