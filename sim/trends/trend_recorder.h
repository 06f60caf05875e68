#pragma once

#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "standin/archive_writer.h"
#include "trends/pen_sampler.h"

namespace sim {

/// The controller's trend recorder: puts the pens' values into the archive once a second. Writing
/// is done by a thread of its own, so that a slow disk holds up no cycle.
class TrendRecorder {
  public:
    /// Opens the archive, making it where it is missing. Throws trends::ArchiveError.
    /// @param keep  values older than this are removed, within an hour
    TrendRecorder(const std::filesystem::path& archive, const trends::Definitions& definitions,
                  const DatabaseMemory& memory, std::chrono::seconds keep);
    /// Writes what is left and closes the archive.
    ~TrendRecorder();
    TrendRecorder(const TrendRecorder&) = delete;
    TrendRecorder& operator=(const TrendRecorder&) = delete;

    /// Takes the values that are due into the archive at once, for a past made before the recorder
    /// starts; they are kept with the next `commit`. Throws trends::ArchiveError.
    void recordPast(timeval time);
    void commit();

    /// From the oldest to the newest value. Only before `start`.
    [[nodiscard]] std::optional<trends::ArchiveWriter::Span> span() { return writer_.span(); }

    /// From here on the thread owns the archive.
    void start();

    /// Takes the values that are due at `now`. Costs the cycle microseconds.
    void record(timeval now);

    /// What ended the recording, once; empty while all is well.
    [[nodiscard]] std::string takeProblem();

    [[nodiscard]] const PenSampler& sampler() const { return sampler_; }

  private:
    void handOver();
    void writeUntilClosed();
    void write(const std::vector<PenValue>& values);
    void removeOld(std::int64_t newest);

    PenSampler sampler_;
    std::int64_t keep_;                // us
    std::vector<PenValue> collected_;  // since the last handing over
    std::int64_t handedOverAt_ = 0;    // us since 1970
    trends::ArchiveWriter writer_;     // of the thread, once it runs
    std::int64_t cleanedAt_ = 0;       // us since 1970; of the thread
    std::mutex mutex_;                 // guards what follows
    std::condition_variable_any changed_;
    std::vector<PenValue> toWrite_;
    std::string problem_;
    bool closing_ = false;
    std::thread thread_;
};

}  // namespace sim
