#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/opcuaweb/basics/clock.h"
#include "tools/opcuaweb/basics/json.h"
#include "tools/opcuaweb/opcua/asker.h"
#include "tools/opcuaweb/tree/tree_index.h"

namespace tools::opcuaweb {

/// Qualities and ages of all values, counted by reading them slowly, see limits.h.
class Sweep {
  public:
    struct Counts {
        std::size_t good = 0;
        std::size_t uncertain = 0;
        std::size_t bad = 0;
        std::size_t old = 0;
        std::optional<std::int64_t> newestMs;
        bool refreshes =
            false;  ///< the server's times move on while values stand still: ages mean something
        std::optional<std::int64_t> endedMs;  ///< when it was counted; none before the first sweep
    };

    /// @param index  outlives this object
    explicit Sweep(const TreeIndex& index) : index_(index) {}

    /// The sweeps as a background job.
    [[nodiscard]] Asker::Job job();
    /// Of the last complete sweep; the newest time may be newer.
    [[nodiscard]] Counts counts() const;
    /// The rows that it counted as "bad", "uncertain" or "old": {"complete", "rows"}.
    /// @return nothing for any other word
    [[nodiscard]] std::optional<Json> attention(const std::string& kind, std::size_t limit) const;

  private:
    Asker::Step step(Session* session);
    [[nodiscard]] bool readChunk(Session& session);
    void count(const Row& row, const UA_DataValue& value, std::int64_t nowMs);
    void note(std::string_view condition, const Row& row);
    void compare(const std::string& id, const UA_DataValue& value, std::int64_t timeMs);
    [[nodiscard]] std::string_view conditionOf(const Row& row, int quality,
                                               std::optional<std::int64_t> ageMs) const;
    void finish();
    void freshen(Session& session);
    void showNewest(std::optional<std::int64_t> timeMs);

    /// Rows kept of each kind: more than anybody looks through.
    static constexpr std::size_t kMostNoted = 2000;
    using Noted = std::map<std::string, std::vector<Row>>;  // by kind

    const TreeIndex& index_;
    std::shared_ptr<const TreeRows>
        rows_;  // it and all up to the next comment: the asking thread's
    std::size_t next_ = 0;
    Counts running_;
    Noted runningNotes_;
    std::string newest_;  // id of the value with the newest time
    /// Some nodes' values and times of the sweep before, by id.
    std::map<std::string, std::pair<Json, std::int64_t>> before_;
    std::size_t stood_ = 0;      // compared values that are the same as before,
    std::size_t refreshed_ = 0;  // and those of them that have a newer time
    bool refreshes_ = false;     // of the present session's server, once it has been seen
    Clock::time_point nextStep_;
    Clock::time_point nextSweep_;
    mutable std::mutex mutex_;  // guards the two below
    Counts counts_;
    Noted notes_;
};

}  // namespace tools::opcuaweb
