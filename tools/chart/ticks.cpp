#include "tools/chart/ticks.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace tools {

// ---- Values -------------------------------------------------------------------------------------

namespace {

constexpr double kSlack = 1e-9;  // of a step: what rounding may add

/// The smallest round step that is no smaller than `least`.
double roundStep(double least) {
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least * (1 - kSlack)) return factor * power;
    }
    return 10 * power;
}

double nextStep(double step) {
    return roundStep(step * 1.5);
}

ValueScale scaleWith(const Range& range, int intervals) {
    // Divided first, because the difference of two large numbers may overflow.
    double step = roundStep(range.high / intervals - range.low / intervals);
    double first = std::floor(range.low / step + kSlack);
    while (range.high / step - first > intervals + kSlack) {
        step = nextStep(step);
        first = std::floor(range.low / step + kSlack);
    }
    // Spare intervals go to both sides, but not below zero if nothing else is there.
    const int used = static_cast<int>(std::ceil(range.high / step - first - kSlack));
    const int half = (intervals - used) / 2;
    double shift = half;
    if (first >= 0) shift = std::min(shift, first);
    return {(first - shift) * step, step, intervals};
}

}  // namespace

std::vector<ValueScale> valueScales(const std::vector<Range>& ranges, int most) {
    constexpr int kLeastIntervals = 4;
    std::vector<ValueScale> best;
    double bestFilled = -1;
    for (int intervals = kLeastIntervals; intervals <= std::max(most, kLeastIntervals);
         ++intervals) {
        std::vector<ValueScale> scales;
        double filled = 0;
        for (const Range& range : ranges) {
            scales.push_back(scaleWith(range, intervals));
            filled += range.span() / (scales.back().step * intervals);
        }
        if (filled < bestFilled + kSlack) continue;
        bestFilled = filled;
        best = std::move(scales);
    }
    return best;
}

std::string tickText(const ValueScale& scale, int tick) {
    constexpr double kMostPlain = 1e7;
    constexpr double kLeastPlain = 1e-5;
    std::array<char, 64> text{};
    double value = scale.at(tick);
    if (std::fabs(value) < scale.step / 2) value = 0;  // never "-0"
    const double size = std::max(std::fabs(scale.low), std::fabs(scale.high()));
    if (size < kMostPlain && scale.step >= kLeastPlain) {
        const int decimals = static_cast<int>(-std::floor(std::log10(scale.step) + kSlack));
        std::snprintf(text.data(), text.size(), "%.*f", std::max(decimals, 0), value);
        return text.data();
    }
    if (value == 0) return "0";
    const int digits =
        static_cast<int>(std::floor(std::log10(std::fabs(value) / scale.step) + kSlack));
    std::snprintf(text.data(), text.size(), "%.*e", std::clamp(digits, 0, 15), value);
    std::string shown = text.data();
    const std::size_t exponent = shown.find('e') + 1;  // "e+06", "e-06", "e+100"
    std::size_t zeros = exponent + 1;
    while (zeros + 1 < shown.size() && shown[zeros] == '0')
        ++zeros;
    shown.erase(exponent + 1, zeros - exponent - 1);
    if (shown[exponent] == '+') shown.erase(exponent, 1);
    return shown;
}

// ---- Times --------------------------------------------------------------------------------------

namespace {

using Ms = std::int64_t;  // since 1970, UTC

constexpr Ms kSecond = 1000;
constexpr Ms kMinute = 60 * kSecond;
constexpr Ms kHour = 60 * kMinute;
constexpr Ms kDay = 24 * kHour;
constexpr Ms kYear = 366 * kDay;

/// The last multiple of `step` that is not after the time.
Ms floorTo(Ms time, Ms step) {
    const Ms rest = time % step;
    return time - rest - (rest < 0 ? step : 0);
}

Ms unixMs(UA_DateTime time) {
    return floorTo(time - UA_DATETIME_UNIX_EPOCH, UA_DATETIME_MSEC) / UA_DATETIME_MSEC;
}

UA_DateTime uaTime(Ms ms) {
    return UA_DATETIME_UNIX_EPOCH + ms * UA_DATETIME_MSEC;
}

std::time_t secondsOf(Ms ms) {
    return static_cast<std::time_t>(floorTo(ms, kSecond) / kSecond);
}

std::tm localTime(Ms ms) {
    const std::time_t seconds = secondsOf(ms);
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}

std::string printed(const char* format, const std::tm& local) {
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), format, &local);
    return text.data();
}

enum class Unit { ms, hour, day, month, year };

struct TimeStep {
    Unit unit;
    int count;
    Ms length;  ///< about
};

constexpr TimeStep kSteps[] = {
    {Unit::ms, 1, 1},
    {Unit::ms, 2, 2},
    {Unit::ms, 5, 5},
    {Unit::ms, 10, 10},
    {Unit::ms, 20, 20},
    {Unit::ms, 50, 50},
    {Unit::ms, 100, 100},
    {Unit::ms, 200, 200},
    {Unit::ms, 500, 500},
    {Unit::ms, 1000, kSecond},
    {Unit::ms, 2000, 2 * kSecond},
    {Unit::ms, 5000, 5 * kSecond},
    {Unit::ms, 10'000, 10 * kSecond},
    {Unit::ms, 15'000, 15 * kSecond},
    {Unit::ms, 30'000, 30 * kSecond},
    {Unit::ms, 60'000, kMinute},
    {Unit::ms, 120'000, 2 * kMinute},
    {Unit::ms, 300'000, 5 * kMinute},
    {Unit::ms, 600'000, 10 * kMinute},
    {Unit::ms, 900'000, 15 * kMinute},
    {Unit::ms, 1'800'000, 30 * kMinute},
    {Unit::hour, 1, kHour},
    {Unit::hour, 2, 2 * kHour},
    {Unit::hour, 3, 3 * kHour},
    {Unit::hour, 6, 6 * kHour},
    {Unit::hour, 12, 12 * kHour},
    {Unit::day, 1, kDay},
    {Unit::day, 2, 2 * kDay},
    {Unit::day, 7, 7 * kDay},
    {Unit::day, 14, 14 * kDay},
    {Unit::month, 1, 31 * kDay},
    {Unit::month, 2, 62 * kDay},
    {Unit::month, 3, 92 * kDay},
    {Unit::month, 6, 183 * kDay},
    {Unit::year, 1, kYear},
    {Unit::year, 2, 2 * kYear},
    {Unit::year, 5, 5 * kYear},
    {Unit::year, 10, 10 * kYear},
    {Unit::year, 50, 50 * kYear},
    {Unit::year, 500, 500 * kYear},
    {Unit::year, 5000, 5000 * kYear},
};

/// The smallest step that has no more than `most` marks in a span.
const TimeStep& stepFor(Ms span, int most) {
    for (const TimeStep& step : kSteps) {
        if (span / step.length + 1 <= most) return step;
    }
    return kSteps[std::size(kSteps) - 1];
}

/// Steps that are the same in all places of an hour.
std::vector<Ms> evenTimes(Ms from, Ms to, Ms step) {
    const Ms offset = localTime(from).tm_gmtoff * kSecond;
    std::vector<Ms> times;
    for (Ms time = floorTo(from + offset + step - 1, step) - offset; time <= to; time += step)
        times.push_back(time);
    return times;
}

/// Full hours of the clock. An hour that the clock passes twice is marked once, unless every hour is.
std::vector<Ms> hourTimes(Ms from, Ms to, const TimeStep& step) {
    constexpr Ms kQuarter = kHour / 4;  // all differences between local times are multiples of it
    std::vector<Ms> times;
    for (Ms time = floorTo(from + kQuarter - 1, kQuarter); time <= to; time += kQuarter) {
        const std::tm local = localTime(time);
        if (local.tm_min != 0 || local.tm_hour % step.count != 0) continue;
        if (step.count > 1 && !times.empty() && time - times.back() <= step.length / 2) continue;
        times.push_back(time);
    }
    return times;
}

bool beginsStep(const std::tm& day, const TimeStep& step) {
    std::tm fields = day;
    const auto number = timegm(&fields) / (24 * 3600);  // of the day, from Thursday, 1970-01-01
    switch (step.unit) {
        case Unit::day:
            return step.count < 7 ? number % step.count == 0 : (number + 3) % step.count == 0;
        case Unit::month:
            return day.tm_mday == 1 && day.tm_mon % step.count == 0;
        default:
            return day.tm_mday == 1 && day.tm_mon == 0 && (day.tm_year + 1900) % step.count == 0;
    }
}

/// The first day of the next month or year, or the next day.
void advance(std::tm& day, Unit unit) {
    if (unit == Unit::day) ++day.tm_mday;
    if (unit == Unit::month) ++day.tm_mon;
    if (unit == Unit::year) ++day.tm_year;
    if (unit >= Unit::month) day.tm_mday = 1;
    if (unit == Unit::year) day.tm_mon = 0;
    timegm(&day);  // only makes a valid date of it
}

/// Local midnights.
std::vector<Ms> dayTimes(Ms from, Ms to, const TimeStep& step) {
    std::tm day = localTime(from);
    day.tm_hour = day.tm_min = day.tm_sec = 0;
    std::vector<Ms> times;
    for (;; advance(day, step.unit)) {
        std::tm fields = day;
        fields.tm_isdst = -1;
        const Ms time = Ms{std::mktime(&fields)} * kSecond;
        if (time > to) return times;
        if (time >= from && beginsStep(day, step)) times.push_back(time);
    }
}

std::vector<Ms> timesOf(Ms from, Ms to, const TimeStep& step) {
    if (step.unit == Unit::ms) return evenTimes(from, to, step.length);
    if (step.unit == Unit::hour) return hourTimes(from, to, step);
    return dayTimes(from, to, step);
}

std::string textOf(Ms time, const std::tm& local, const TimeStep& step) {
    switch (step.unit) {
        case Unit::day:
            return printed("%m-%d", local);
        case Unit::month:
            return printed("%Y-%m", local);
        case Unit::year:
            return printed("%Y", local);
        default:
            break;
    }
    if (step.length >= kMinute) return printed("%H:%M", local);
    std::string text = printed("%H:%M:%S", local);
    if (step.length < kSecond) {
        std::array<char, 8> fraction{};
        std::snprintf(fraction.data(), fraction.size(), ".%03d",
                      static_cast<int>(time - Ms{secondsOf(time)} * kSecond));
        text += fraction.data();
    }
    return text;
}

std::string dateOf(const std::tm& local, Unit unit) {
    if (unit >= Unit::month) return {};
    return printed(unit == Unit::day ? "%Y" : "%Y-%m-%d", local);
}

bool beginsDate(const std::tm& local, Unit unit) {
    if (unit >= Unit::day) return local.tm_yday == 0;
    return local.tm_hour == 0 && local.tm_min == 0 && local.tm_sec == 0;
}

}  // namespace

std::vector<TimeTick> timeTicks(UA_DateTime from, UA_DateTime to, int most) {
    const Ms first = unixMs(from) + (uaTime(unixMs(from)) < from ? 1 : 0);
    const Ms last = unixMs(to);
    if (last < first) return {};
    const TimeStep& step = stepFor(last - first, most);
    std::vector<TimeTick> ticks;
    std::string before;
    for (const Ms time : timesOf(first, last, step)) {
        const std::tm local = localTime(time);
        std::string date = dateOf(local, step.unit);
        const bool changed = date != before;
        before = date;
        ticks.push_back({uaTime(time), textOf(time, local, step), changed ? date : std::string{},
                         changed && (!ticks.empty() || beginsDate(local, step.unit))});
    }
    // The date before it is clear, and two would overlap.
    if (ticks.size() > 1 && ticks[1].newDate) ticks[0].date.clear();
    return ticks;
}

std::string timeZoneText(UA_DateTime from, UA_DateTime to) {
    const auto text = [](UA_DateTime time) {
        const long minutes = localTime(unixMs(time)).tm_gmtoff / 60;
        std::array<char, 32> shown{};
        std::snprintf(shown.data(), shown.size(), "UTC%+ld", minutes / 60);
        if (minutes % 60 != 0) {
            std::snprintf(shown.data(), shown.size(), "UTC%c%ld:%02ld", minutes < 0 ? '-' : '+',
                          std::labs(minutes) / 60, std::labs(minutes) % 60);
        }
        return std::string{minutes == 0 ? "UTC" : shown.data()};
    };
    const std::string begin = text(from);
    const std::string end = text(to);
    return begin == end ? begin : begin + ", " + end;
}

}  // namespace tools
