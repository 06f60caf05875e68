#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lib/rolling2/rol_shared.h"
#include "tools/opcuaweb/streams/browsers.h"
#include "tools/zrtjournal/live_ring.h"

namespace tools::opcuaweb {

/// The controller's event journal for the pages, read as zrtjournal does, without leaving a trace.
class JournalFeed {
  public:
    struct Choice {
        std::string codes;  ///< "18091-18094,1003"; empty: all
        std::int64_t fromMs = INT64_MIN;
        std::int64_t toMs = INT64_MAX;
        std::size_t limit = 0;
    };

    /// Sends what is new since the last call; call it regularly, on one thread. A journal that is gone, or
    /// comes again, is no error.
    void poll(Browsers& browsers);

    /// The newest five messages; null while the journal cannot be read.
    [[nodiscard]] Json newest() const;

    /// The chosen messages, newest last. @return nothing if the journal cannot be read
    [[nodiscard]] std::optional<Json> messages(const Choice& choice);
    /// False if the text is no list of codes.
    [[nodiscard]] static bool isCodeList(const std::string& text);

  private:
    using Stamp = std::pair<std::int32_t, std::int32_t>;
    [[nodiscard]] static Stamp stampOf(const SRolMessage& message);
    void publishNew(const zrtjournal::RingCopy& copy, Browsers& browsers);

    std::mutex reading_;          // one copy at a time: the controller's libraries know no threads
    std::optional<Stamp> shown_;  // newest message that was sent; polling thread's
    int ringId_ = -1;             // likewise
    mutable std::mutex mutex_;    // guards the one below
    std::optional<Json> newest_;
};

}  // namespace tools::opcuaweb
