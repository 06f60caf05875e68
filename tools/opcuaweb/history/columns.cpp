#include "tools/opcuaweb/history/columns.h"

#include <algorithm>
#include <utility>

namespace tools::opcuaweb {

Columns::Columns(std::int64_t fromMs, std::int64_t toMs, std::size_t width)
    : fromMs_(fromMs), toMs_(std::max(toMs, fromMs + 1)), width_(std::max<std::size_t>(width, 1)) {}

void Columns::add(const HistoryPoint& point) {
    ++values_;
    if (reducing_) return reduce(point);
    plain_.push_back(point);
    if (plain_.size() <= width_) return;
    reducing_ = true;
    for (const HistoryPoint& early : plain_) {
        reduce(early);
    }
    plain_ = {};
}

std::size_t Columns::pixelOf(std::int64_t timeMs) const {
    const double part =
        static_cast<double>(timeMs - fromMs_) / static_cast<double>(toMs_ - fromMs_);
    const double pixel = std::clamp(part, 0.0, 1.0) * static_cast<double>(width_);
    return std::min(static_cast<std::size_t>(pixel), width_ - 1);
}

void Columns::reduce(const HistoryPoint& point) {
    const std::size_t pixel = pixelOf(point.timeMs);
    if (pixel != column_.pixel) {
        emit();
        column_ = {};
        column_.pixel = pixel;
    }
    if (!point.number) {
        column_.gapMs = point.timeMs;
        column_.hasGap = true;
        return;
    }
    const double number = *point.number;
    column_.least = column_.hasNumber ? std::min(column_.least, number) : number;
    column_.greatest = column_.hasNumber ? std::max(column_.greatest, number) : number;
    column_.last = number;
    column_.timeMs = point.timeMs;
    column_.hasNumber = true;
}

namespace {

Json gapAt(std::int64_t timeMs) {
    return {timeMs, nullptr, nullptr, nullptr, 1};
}

Json numbersAt(std::int64_t timeMs, double least, double greatest, double last) {
    return {timeMs, least, greatest, last, 0};
}

}  // namespace

/// A pixel with numbers and a gap is two columns, in the order in which they end.
void Columns::emit() {
    const bool gapFirst = column_.hasGap && (!column_.hasNumber || column_.gapMs < column_.timeMs);
    if (gapFirst) done_.push_back(gapAt(column_.gapMs));
    if (column_.hasNumber) {
        done_.push_back(numbersAt(column_.timeMs, column_.least, column_.greatest, column_.last));
    }
    if (column_.hasGap && !gapFirst) done_.push_back(gapAt(column_.gapMs));
}

Json Columns::take() {
    return std::exchange(done_, Json::array());
}

Json Columns::finish() {
    if (reducing_) emit();
    column_ = {};
    for (const auto& [timeMs, number] : plain_) {
        done_.push_back(number ? numbersAt(timeMs, *number, *number, *number) : gapAt(timeMs));
    }
    plain_ = {};
    return take();
}

}  // namespace tools::opcuaweb
