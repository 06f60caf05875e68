#include "tools/zrtjournal/selection.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

namespace tools::zrtjournal {

// ---- Codes -------------------------------------------------------------------------------------

namespace {

std::optional<std::uint32_t> readCode(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return std::nullopt;
    text = text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
    std::uint32_t code = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), code);
    if (error != std::errc{} || rest != text.data() + text.size()) return std::nullopt;
    return code;
}

}  // namespace

bool Selection::setCodes(const std::string& text) {
    std::vector<Range> codes;
    std::istringstream items(text + ",");
    for (std::string item; std::getline(items, item, ',');) {
        const std::size_t dash = item.find('-');
        const auto first = readCode(std::string_view(item).substr(0, dash));
        const auto last =
            dash == std::string::npos ? first : readCode(std::string_view(item).substr(dash + 1));
        if (!first || !last || *first > *last) return false;
        codes.push_back({*first, *last});
    }
    codes_ = std::move(codes);
    return true;
}

// ---- Times -------------------------------------------------------------------------------------

namespace {

enum class Unit { second, minute, day };

struct TimeFormat {
    const char* format;
    Unit unit;
    bool hasDay;
};
constexpr TimeFormat kFormats[] = {
    {"%Y-%m-%d %H:%M:%S", Unit::second, true},
    {"%Y-%m-%dT%H:%M:%S", Unit::second, true},
    {"%d-%m-%Y %H:%M:%S", Unit::second, true},
    {"%Y-%m-%d %H:%M", Unit::minute, true},
    {"%Y-%m-%dT%H:%M", Unit::minute, true},
    {"%d-%m-%Y %H:%M", Unit::minute, true},
    {"%Y-%m-%d", Unit::day, true},
    {"%d-%m-%Y", Unit::day, true},
    {"%H:%M:%S", Unit::second, false},
    {"%H:%M", Unit::minute, false},
};

struct Span {
    std::time_t begin;
    std::time_t end;  // the first second after it
};

std::tm nextUnit(std::tm time, Unit unit) {
    if (unit == Unit::second) ++time.tm_sec;
    if (unit == Unit::minute) ++time.tm_min;
    if (unit == Unit::day) ++time.tm_mday;
    return time;
}

std::optional<Span> readTime(const std::string& text, std::time_t now) {
    std::tm today{};
    localtime_r(&now, &today);
    for (const TimeFormat& row : kFormats) {
        std::tm time{};
        if (!row.hasDay) time = today;
        time.tm_sec = 0;
        const char* rest = strptime(text.c_str(), row.format, &time);
        constexpr int kFirstYear = 70;  // the day of "21-11-2026" must not be read as a year
        if (rest == nullptr || *rest != '\0' || time.tm_year < kFirstYear) continue;
        time.tm_isdst = -1;
        std::tm next = nextUnit(time, row.unit);
        std::tm normal = time;
        const Span span{std::mktime(&normal), std::mktime(&next)};
        if (normal.tm_mday != time.tm_mday) return std::nullopt;  // the 31st of February
        return span;
    }
    return std::nullopt;
}

}  // namespace

bool Selection::setFrom(const std::string& text, std::time_t now) {
    const auto span = readTime(text, now);
    if (span) from_ = span->begin;
    return span.has_value();
}

bool Selection::setTo(const std::string& text, std::time_t now) {
    const auto span = readTime(text, now);
    if (span) end_ = span->end;
    return span.has_value();
}

// ---- The choice --------------------------------------------------------------------------------

bool Selection::takes(const SRolMessage& message) const {
    const std::int64_t time = message.Date.sec;
    if (time < from_ || time >= end_) return false;
    const std::uint32_t code = message.MessageCode;
    return codes_.empty() || std::any_of(codes_.begin(), codes_.end(), [&](const Range& range) {
               return code >= range.first && code <= range.last;
           });
}

}  // namespace tools::zrtjournal
