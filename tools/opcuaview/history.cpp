#include "tools/opcuaview/history.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <memory>

#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/plot.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

using Clock = std::chrono::steady_clock;

// ---- Texts --------------------------------------------------------------------------------------

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

std::string csvLine(const HistoryValue& value) {
    const UA_DateTimeStruct time = UA_DateTime_toStruct(value.time);
    std::array<char, 128> line{};
    std::snprintf(line.data(), line.size(), "%04d-%02u-%02uT%02u:%02u:%02u.%03u%03uZ,", time.year,
                  unsigned{time.month}, unsigned{time.day}, unsigned{time.hour}, unsigned{time.min},
                  unsigned{time.sec}, unsigned{time.milliSec}, unsigned{time.microSec});
    std::string text = value.time != 0 ? line.data() : ",";
    if (!std::isnan(value.number)) {
        std::snprintf(line.data(), line.size(), "%.*g", value.wide ? 17 : 9, value.number);
        text += line.data();
    }
    return text + "," + formatQuality(value.status);
}

std::vector<const Child*> matchingPens(const std::vector<Child>& pens, const std::string& text) {
    const std::string part = lowered(text);
    std::vector<const Child*> matching;
    for (const Child& pen : pens) {
        if (matchesFilter(*pen.id, pen.name, part)) matching.push_back(&pen);
    }
    return matching;
}

// ---- The command --------------------------------------------------------------------------------

namespace {

class HistoryCommand {
  public:
    explicit HistoryCommand(const HistoryOptions& options)
        : options_(options), session_(options.url) {
        to_ = options.to.empty() ? UA_DateTime_now() : parseTime(options.to).value_or(0);
        from_ = options.from.empty() ? to_ - options.last.count() * UA_DATETIME_SEC
                                     : parseTime(options.from).value_or(0);
    }

    ExitStatus run() {
        catchStopSignals();
        if (!connect(session_, options_.waitSeconds, kNoConnection)) return kCannotConnect;
        const ExitStatus chosen = choosePen();
        if (chosen != kDone || options_.list) return chosen;
        const ExitStatus status = readAll();
        if (options_.plot && !values_.empty()) draw();
        std::fflush(stdout);
        return status;
    }

  private:
    ExitStatus choosePen() {
        if (!options_.nodeId.empty()) {
            // The text was already checked when the command line was parsed.
            static_cast<void>(UA_NodeId_parse(node_.get(), uaView(options_.nodeId)));
            return kDone;
        }
        std::vector<Child> pens;
        const UA_StatusCode status = listPens(session_, pens);
        if (status != UA_STATUSCODE_GOOD) {
            say(in({"не удалось прочитать список перьев (", "cannot read the list of pens ("}) +
                formatQuality(status) + ")");
            return kCannotConnect;
        }
        const auto matching = matchingPens(pens, options_.pen);
        if (options_.list) return list(matching);
        if (matching.size() == 1) {
            node_ = NodeId::copyOf(*matching.front()->id.get());
            return kDone;
        }
        say(matching.empty() ? in({"такого пера на сервере нет", "the server has no such pen"})
                             : in({"перьев с таким текстом несколько, уточните:",
                                   "several pens contain this text, be more specific:"}));
        for (const Child* pen : matching)
            say("  " + idText(*pen->id.get()));
        return matching.empty() ? kNoValue : kBadUsage;
    }

    static ExitStatus list(const std::vector<const Child*>& pens) {
        for (const Child* pen : pens)
            std::puts(idText(*pen->id.get()).c_str());
        if (pens.empty())
            say(in({"перьев с историей на сервере нет", "the server has no pens with a history"}));
        return pens.empty() ? kNoValue : kDone;
    }

    ExitStatus readAll() {
        HistoryPager pager{
            [this](UA_DateTime from, UA_DateTime to, std::vector<HistoryValue>& to_values) {
                return session_.readHistory(*node_.get(), from, to, to_values);
            },
            from_, to_};
        if (!options_.plot) std::puts("time,value,quality");
        std::vector<HistoryValue> values;
        while (!stopRequested()) {
            switch (pager.next(values)) {
                case HistoryPager::Step::values:
                    take(values);
                    tellProgress(pager.position());
                    break;
                case HistoryPager::Step::end:
                    return finish();
                case HistoryPager::Step::stuck:
                    return stuck(pager);
                case HistoryPager::Step::failed:
                    if (session_.isConnected()) return refused(pager.status());
                    if (!connect(session_, options_.waitSeconds, kNotRestored))
                        return kConnectionLost;
                    break;
            }
        }
        say(in({"прервано; ", "interrupted; "}) + countText());
        return kIncomplete;
    }

    void take(const std::vector<HistoryValue>& values) {
        count_ += values.size();
        if (options_.plot) {
            values_.insert(values_.end(), values.begin(), values.end());
            return;
        }
        for (const HistoryValue& value : values)
            std::puts(csvLine(value).c_str());
    }

    void tellProgress(UA_DateTime position) {
        if (Clock::now() < nextProgress_) return;
        nextProgress_ = Clock::now() + std::chrono::seconds{1};
        say(countText() + in({", до ", ", up to "}) + formatTime(position));
    }

    [[nodiscard]] std::string countText() const {
        return in({"прочитано значений: ", "values read: "}) + std::to_string(count_);
    }

    ExitStatus finish() const {
        say(countText());
        return count_ > 0 ? kDone : kNoValue;
    }

    ExitStatus stuck(const HistoryPager& pager) const {
        say(countText() +
            in({"; дальше нельзя: в миллисекунде ", "; reading stops here: the millisecond "}) +
            formatTime(pager.position()) +
            in({" их не меньше, чем сервер отдаёт за один ответ (",
                " has at least as many as one answer of the server holds ("}) +
            std::to_string(pager.largestAnswer()) +
            in({"), и остальные пропали бы", "), and the others would be lost"}));
        return kIncomplete;
    }

    static ExitStatus refused(UA_StatusCode status) {
        say(in({"сервер не отдаёт историю этого узла (",
                "the server does not provide this node's history ("}) +
            formatQuality(status) + ")");
        return kNoValue;
    }

    void draw() const {
        const TerminalSize size = isTerminal() ? terminalSize() : TerminalSize{24, 80};
        const int rows = std::clamp(size.rows - 4, 6, 24);
        std::puts((idText(*node_.get()) + "   " + rangeText(values_) + "   " + formatTime(from_) +
                   " — " + formatTime(to_))
                      .c_str());
        for (const std::string& line : plot(values_, from_, to_, rows, std::max(size.columns, 30)))
            std::puts(line.c_str());
    }

    const HistoryOptions& options_;
    Session session_;
    NodeId node_;
    UA_DateTime from_ = 0;
    UA_DateTime to_ = 0;
    std::vector<HistoryValue> values_;  // for a plot only
    std::size_t count_ = 0;
    Clock::time_point nextProgress_ = Clock::now() + std::chrono::seconds{1};
};

}  // namespace

ExitStatus readHistory(const HistoryOptions& options) {
    return HistoryCommand{options}.run();
}

// ---- The command line ---------------------------------------------------------------------------

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

/// The options that choose the time.
void addRange(CLI::App& command, const std::shared_ptr<HistoryOptions>& options) {
    const std::string time = in({"ВРЕМЯ", "TIME"});
    CLI::Option* from =
        command.add_option("--from", options->from,
                           in({"Начало, местное время \"2026-11-21 12:33:10\"; с Z — UTC",
                               "Begin, local time \"2026-11-21 12:33:10\"; with Z it is UTC"}));
    from->check(timeText())->type_name(time);
    command
        .add_option("--to", options->to,
                    in({"Конец; иначе текущее время", "End; the current time by default"}))
        ->check(timeText())
        ->type_name(time);
    command
        .add_option_function<std::string>(
            "--last",
            [options](const std::string& text) {
                options->last = parseDuration(text).value_or(options->last);
            },
            in({"Начать за столько до конца: 30d, 12h, 45m, 90s; иначе за 1h",
                "Begin so long before the end: 30d, 12h, 45m, 90s; 1h by default"}))
        ->check(durationText())
        ->type_name(time)
        ->excludes(from);
}

}  // namespace

void addHistoryCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<HistoryOptions>();
    CLI::App& command =
        addServerCommand(line, "history",
                         {"Читает историю пера целиком, сколько бы значений в ней ни было",
                          "Reads the whole history of a pen, however many values it has"},
                         options->url, options->waitSeconds);
    CLI::Option* node =
        command.add_option("--node", options->nodeId,
                           in({"Узел пера, \"ns=2;s=...\"", "Node of the pen, \"ns=2;s=...\""}));
    node->check(nodeIdText())->type_name(in({"УЗЕЛ", "NODE"}));
    CLI::Option* pen =
        command.add_option("--pen", options->pen,
                           in({"Перо, в чьём идентификаторе узла или имени есть этот текст",
                               "The pen whose node id or name contains this text"}));
    pen->type_name(in({"ТЕКСТ", "TEXT"}))->excludes(node);
    addRange(command, options);
    CLI::Option* drawn = command.add_flag(
        "--plot", options->plot, in({"График вместо строк CSV", "A plot instead of CSV lines"}));
    CLI::Option* listed = command.add_flag(
        "--list", options->list,
        in({"Только перечислить перья с историей", "Only list the pens with a history"}));
    listed->excludes(drawn);
    command.callback([options, node, pen, &status] {
        if (!options->list && node->count() + pen->count() == 0) {
            throw CLI::ValidationError("history",
                                       in({"укажите --pen или --node (перечень — --list)",
                                           "name --pen or --node (--list lists them)"}));
        }
        status = readHistory(*options);
    });
}

}  // namespace tools::opcuaview
