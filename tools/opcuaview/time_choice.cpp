#include "tools/opcuaview/time_choice.h"

#include <charconv>
#include <ctime>

#include "tools/opcuaview/language.h"

namespace tools::opcuaview {

std::optional<UA_DateTime> parseTime(const std::string& text) {
    std::tm fields{};
    int milliseconds = 0;
    std::string rest = text;
    const bool utc = !rest.empty() && rest.back() == 'Z';
    if (utc) rest.pop_back();
    const auto dot = rest.find('.');
    if (dot != std::string::npos) {
        const char* end = rest.data() + rest.size();
        const auto [stop, error] = std::from_chars(rest.data() + dot + 1, end, milliseconds);
        if (error != std::errc{} || stop != end || rest.size() - dot != 4 || milliseconds < 0) {
            return std::nullopt;
        }
        rest.resize(dot);
    }
    for (const char* format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M",
                               "%Y-%m-%dT%H:%M", "%Y-%m-%d"}) {
        fields = {};
        const char* end = strptime(rest.c_str(), format, &fields);
        if (end == nullptr || *end != '\0') continue;
        const std::tm given = fields;
        fields.tm_isdst = -1;
        const std::time_t seconds = utc ? timegm(&fields) : std::mktime(&fields);
        // A day that the month does not have was changed to another one.
        if (fields.tm_mday != given.tm_mday || fields.tm_sec != given.tm_sec) return std::nullopt;
        return UA_DateTime_fromUnixTime(seconds) + milliseconds * UA_DATETIME_MSEC;
    }
    return std::nullopt;
}

std::optional<std::chrono::seconds> parseDuration(const std::string& text) {
    constexpr struct {
        char letter;
        int seconds;
    } kUnits[] = {{'d', 86'400}, {'h', 3600}, {'m', 60}, {'s', 1}};
    constexpr int kMost = 100'000;  // of any unit
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || rest + 1 != end || number < 1 || number > kMost)
        return std::nullopt;
    for (const auto& unit : kUnits) {
        if (*rest == unit.letter) {
            return std::chrono::seconds{std::int64_t{number} * unit.seconds};
        }
    }
    return std::nullopt;
}

TimeRange timeRange(const TimeChoice& choice, UA_DateTime now) {
    TimeRange range;
    range.to = choice.to.empty() ? now : parseTime(choice.to).value_or(0);
    range.from = choice.from.empty() ? range.to - choice.last.count() * UA_DATETIME_SEC
                                     : parseTime(choice.from).value_or(0);
    return range;
}

namespace {

CLI::Validator timeText() {
    return {[](std::string& text) -> std::string {
                if (parseTime(text)) return {};
                return "\"" + text +
                       in({"\" — не время вида 2026-11-21 12:33:10",
                           "\" is no time like 2026-11-21 12:33:10"});
            },
            {}};
}

CLI::Validator durationText() {
    return {[](std::string& text) -> std::string {
                if (parseDuration(text)) return {};
                return "\"" + text +
                       in({"\" — не время вида 30d, 12h, 45m или 90s",
                           "\" is no time like 30d, 12h, 45m or 90s"});
            },
            {}};
}

}  // namespace

void addTimeOptions(CLI::App& command, TimeChoice& choice) {
    const std::string time = in({"ВРЕМЯ", "TIME"});
    CLI::Option* from =
        command.add_option("--from", choice.from,
                           in({"Начало, местное время \"2026-11-21 12:33:10\"; с Z — UTC",
                               "Begin, local time \"2026-11-21 12:33:10\"; with Z it is UTC"}));
    from->check(timeText())->type_name(time);
    command
        .add_option("--to", choice.to,
                    in({"Конец; иначе текущее время", "End; the current time by default"}))
        ->check(timeText())
        ->type_name(time);
    command
        .add_option_function<std::string>(
            "--last",
            [&choice](const std::string& text) {
                choice.last = parseDuration(text).value_or(choice.last);
            },
            in({"Начать за столько до конца: 30d, 12h, 45m, 90s; иначе за 1h",
                "Begin so long before the end: 30d, 12h, 45m, 90s; 1h by default"}))
        ->check(durationText())
        ->type_name(time)
        ->excludes(from);
}

}  // namespace tools::opcuaview
