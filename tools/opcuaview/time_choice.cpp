#include "tools/opcuaview/time_choice.h"

#include <charconv>

#include "tools/opcuaview/language.h"

namespace tools::opcuaview {

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
