#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

/// One value of a history. Without a number, or with a bad quality, it is a gap.
struct HistoryPoint {
    std::int64_t timeMs = 0;  ///< since 1970
    std::optional<double> number;
};

/// Reduces a history to what a picture of a given width can show: for each pixel the least, the greatest
/// and the last value, and whether there is a gap. A history with no more values than pixels stays as it
/// is. Values come in time order and so do the columns.
class Columns {
  public:
    /// @param width  pixels, at least 1
    Columns(std::int64_t fromMs, std::int64_t toMs, std::size_t width);

    void add(const HistoryPoint& point);
    /// The columns that are finished: [time, min, max, last, bad]; null for the numbers of a gap.
    [[nodiscard]] Json take();
    /// All that are left.
    [[nodiscard]] Json finish();

    [[nodiscard]] std::size_t values() const { return values_; }

  private:
    struct Column {
        std::size_t pixel = 0;
        std::int64_t timeMs = 0;  // of the last number
        double least = 0;
        double greatest = 0;
        double last = 0;
        bool hasNumber = false;
        std::int64_t gapMs = 0;  // of the last gap
        bool hasGap = false;
    };

    [[nodiscard]] std::size_t pixelOf(std::int64_t timeMs) const;
    void reduce(const HistoryPoint& point);
    void emit();

    const std::int64_t fromMs_;
    const std::int64_t toMs_;
    const std::size_t width_;
    std::vector<HistoryPoint> plain_;  // while they are no more than the pixels
    bool reducing_ = false;
    Column column_;
    Json done_ = Json::array();
    std::size_t values_ = 0;
};

}  // namespace tools::opcuaweb
