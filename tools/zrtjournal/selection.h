#pragma once

#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "lib/rolling2/rol_shared.h"

namespace tools::zrtjournal {

/// Selects the messages to show.
class Selection {
  public:
    /// Codes and ranges of them, as "18091-18094, 1003".
    /// @return false if it is not such a list; nothing changes then
    [[nodiscard]] bool setCodes(const std::string& text);

    /// Time of the events, local: "2026-11-21 09:30:15", "21-11-2026 09:30", a day without a time,
    /// or a time of today. The end of a span includes the given second, minute or day.
    /// @param now  s since 1970
    /// @return false for any other text; nothing changes then
    [[nodiscard]] bool setFrom(const std::string& text, std::time_t now);
    [[nodiscard]] bool setTo(const std::string& text, std::time_t now);

    [[nodiscard]] bool takes(const SRolMessage& message) const;

  private:
    struct Range {
        std::uint32_t first;
        std::uint32_t last;
    };

    std::vector<Range> codes_;                                      // empty: all
    std::int64_t from_ = std::numeric_limits<std::int64_t>::min();  // s since 1970
    std::int64_t end_ = std::numeric_limits<std::int64_t>::max();   // the first one too late
};

}  // namespace tools::zrtjournal
