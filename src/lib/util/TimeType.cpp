#include "lib/util/TimeType.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <iostream>

#include "lib/util/abs_time.h"

namespace {
constexpr long kUsPerSec = 1'000'000;
}  // namespace

// ---- Now ----

void TimeType::UpdateWithCurrent() {
    static_cast<void>(gettimeofday(this, nullptr));  // cannot fail with a valid address
}

TimeType TimeType::GetCurrent() {
    TimeType now;
    now.UpdateWithCurrent();
    return now;
}

void TimeType::UpdateWithAbsClock() {
    // Queried here instead of taken from ABSCLOCKS_PER_SEC: static objects of other files may call
    // this before that constant is set.
    const long ticksPerSec = sysconf(_SC_CLK_TCK);
    const long ticks = abs_clock();
    tv_sec = ticks / ticksPerSec;
    tv_usec = ticks % ticksPerSec * kUsPerSec / ticksPerSec;
}

float TimeType::GetSecInFloat() const {
    return static_cast<float>(tv_sec) + static_cast<float>(tv_usec) / 1e6F;
}

// ---- Arithmetic ----

TimeType TimeType::operator-(const TimeType& b) const {
    if (*this <= b) return {};
    TimeType result(tv_sec - b.tv_sec, tv_usec - b.tv_usec);
    if (result.tv_usec < 0) {
        --result.tv_sec;
        result.tv_usec += kUsPerSec;
    }
    return result;
}

TimeType TimeType::operator+(const TimeType& b) const {
    TimeType result(tv_sec + b.tv_sec, tv_usec + b.tv_usec);
    if (result.tv_usec >= kUsPerSec) {
        ++result.tv_sec;
        result.tv_usec -= kUsPerSec;
    }
    return result;
}

TimeType TimeType::operator/(int n) const {
    if (n == 0) return {};
    return {tv_sec / n, (tv_sec % n * kUsPerSec + tv_usec) / n};
}

TimeType TimeType::operator*(int n) const {
    const long total = tv_usec * n;
    return {total / kUsPerSec + tv_sec * n, total % kUsPerSec};
}

bool TimeType::operator<(const TimeType& b) const {
    return tv_sec != b.tv_sec ? tv_sec < b.tv_sec : tv_usec < b.tv_usec;
}

bool TimeType::operator==(const TimeType& b) const {
    return tv_sec == b.tv_sec && tv_usec == b.tv_usec;
}

// ---- Text ----

namespace {

// Large enough for any field values, also those of a time far out of range.
using DateText = std::array<char, 96>;

struct LocalTime {
    tm parts{};
    unsigned long ms = 0;
};

LocalTime localTime(const TimeType& time) {
    LocalTime local;
    // Fails for years beyond an int only; the parts are then 0.
    static_cast<void>(localtime_r(&time.tv_sec, &local.parts));
    local.ms = static_cast<unsigned long>(time.tv_usec / 1000);
    return local;
}

void formatDate(const TimeType& time, DateText& text) {
    const auto [t, ms] = localTime(time);
    std::snprintf(text.data(), text.size(), "%2d/%02d/%04d %2d:%02d:%02d.%03lu", t.tm_mday,
                  t.tm_mon + 1, t.tm_year + 1900, t.tm_hour, t.tm_min, t.tm_sec, ms);
}

}  // namespace

const char* TimeType::GetDateString() const {
    static DateText text;
    formatDate(*this, text);
    return text.data();
}

std::string TimeType::GetDateString_r() const {
    DateText text;
    formatDate(*this, text);
    return text.data();
}

const char* TimeType::GetDateStringForFilename() const {
    static DateText text;
    const auto [t, ms] = localTime(*this);
    std::snprintf(text.data(), text.size(), "%02d%02d %02d_%02d_%02d.%03lu", t.tm_mday,
                  t.tm_mon + 1, t.tm_hour, t.tm_min, t.tm_sec, ms);
    return text.data();
}

const char* TimeType::GetString() const {
    static std::array<char, 24> text;
    std::snprintf(text.data(), text.size(), "%u.%06u", static_cast<std::uint32_t>(tv_sec),
                  static_cast<std::uint32_t>(tv_usec));
    return text.data();
}

void TimeType::Print() const {
    std::cout << *this << std::endl;
}

std::ostream& operator<<(std::ostream& out, const TimeType& time) {
    const char fill = out.fill('0');
    out << time.tv_sec << '.' << std::setw(6) << time.tv_usec;
    out.fill(fill);
    return out;
}

// ---- Waiting and intervals ----

void TimeType::Sleep(const TimeType& duration) {
    const TimeType start = GetCurrent();
    while (!(GetCurrent() - start > duration)) {
    }
}

int TimeType::GetIntersection(const TimeType& start1, const TimeType& end1, const TimeType& start2,
                              const TimeType& end2, TimeType& start, TimeType& end) {
    const TimeType later = std::max(start1, start2);
    const TimeType earlier = std::min(end1, end2);
    start = later;
    end = earlier;
    return later > earlier ? -1 : 0;
}

int TimeType::HasIntersection(const TimeType& start1, const TimeType& end1, const TimeType& start2,
                              const TimeType& end2) {
    return std::max(start1, start2) <= std::min(end1, end2) ? 1 : 0;
}

int TimeType::GetUnion(const TimeType& start1, const TimeType& end1, const TimeType& start2,
                       const TimeType& end2, TimeType& start, TimeType& end) {
    const TimeType earlier = std::min(start1, start2);
    const TimeType later = std::max(end1, end2);
    start = earlier;
    end = later;
    return 0;
}

bool TimeType::IsPointInInterval(const TimeType& point, const TimeType& start,
                                 const TimeType& end) {
    return point >= start && point <= end;
}
