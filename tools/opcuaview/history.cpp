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
        if (pen.id->identifierType != UA_NODEIDTYPE_STRING) continue;
        const std::string id = lowered(textOf(pen.id->identifier.string));
        if (id.find(part) != std::string::npos) matching.push_back(&pen);
    }
    return matching;
}

namespace {

std::string idText(const UA_NodeId& id) {
    OwnedString text;
    if (UA_NodeId_print(&id, text.get()) != UA_STATUSCODE_GOOD) return "?";
    return printable(textOf(*text));
}

}  // namespace

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
        if (!connect("нет связи с")) return kCannotConnect;
        const ExitStatus chosen = choosePen();
        if (chosen != kDone || options_.list) return chosen;
        const ExitStatus status = readAll();
        if (options_.plot && !values_.empty()) draw();
        std::fflush(stdout);
        return status;
    }

  private:
    /// Tries until the time of --wait is over.
    bool connect(const char* problem) {
        const auto deadline = Clock::now() + std::chrono::duration<double>(options_.waitSeconds);
        while (true) {
            const UA_StatusCode status = session_.connect();
            if (status == UA_STATUSCODE_GOOD) return true;
            const bool otherServer = status == UA_STATUSCODE_BADNOTFOUND;
            if (otherServer || stopRequested() || Clock::now() >= deadline) {
                say(std::string(problem) + " " + options_.url + " (" + formatQuality(status) + ")");
                return false;
            }
            const timespec pause{0, 50'000'000};
            nanosleep(&pause, nullptr);
        }
    }

    ExitStatus choosePen() {
        if (!options_.nodeId.empty()) {
            // The text was already checked when the command line was parsed.
            static_cast<void>(UA_NodeId_parse(node_.get(), uaView(options_.nodeId)));
            return kDone;
        }
        std::vector<Child> pens;
        const UA_StatusCode status = session_.browsePens(pens);
        if (status != UA_STATUSCODE_GOOD) {
            say("список перьев не читается (" + formatQuality(status) + ")");
            return kCannotConnect;
        }
        const auto matching = matchingPens(pens, options_.pen);
        if (options_.list) return list(matching);
        if (matching.size() == 1) {
            node_ = NodeId::copyOf(*matching.front()->id.get());
            return kDone;
        }
        say(matching.empty() ? "такого пера на сервере нет"
                             : "перьев с таким текстом несколько, уточните:");
        for (const Child* pen : matching)
            say("  " + idText(*pen->id.get()));
        return matching.empty() ? kNoValue : kBadUsage;
    }

    static ExitStatus list(const std::vector<const Child*>& pens) {
        for (const Child* pen : pens)
            std::puts(idText(*pen->id.get()).c_str());
        if (pens.empty()) say("перьев с историей на сервере нет");
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
                    if (!connect("связь не восстановлена:")) return kConnectionLost;
                    break;
            }
        }
        say("прервано; прочитано значений: " + std::to_string(count_));
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
        say("прочитано значений: " + std::to_string(count_) + ", до " + formatTime(position));
    }

    ExitStatus finish() const {
        say("прочитано значений: " + std::to_string(count_));
        return count_ > 0 ? kDone : kNoValue;
    }

    ExitStatus stuck(const HistoryPager& pager) const {
        say("прочитано значений: " + std::to_string(count_) + "; дальше нельзя: в миллисекунде " +
            formatTime(pager.position()) + " их не меньше, чем сервер отдаёт за один ответ (" +
            std::to_string(pager.largestAnswer()) + "), и остальные пропали бы");
        return kIncomplete;
    }

    static ExitStatus refused(UA_StatusCode status) {
        say("сервер не отдаёт историю этого узла (" + formatQuality(status) + ")");
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
                return "\"" + text + "\" — не время вида 2026-11-21 12:33:10";
            },
            {}};
}

}  // namespace

void addHistoryCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<HistoryOptions>();
    CLI::App& command =
        addServerCommand(line, "history",
                         {"Читает историю пера целиком, сколько бы значений в ней ни было",
                          "Reads the whole history of a pen, however many values it has"},
                         options->url, options->waitSeconds);
    CLI::Option* node = command.add_option("--node", options->nodeId, "Узел пера, \"ns=1;s=...\"");
    node->check(nodeIdText())->type_name("УЗЕЛ");
    CLI::Option* pen = command.add_option("--pen", options->pen,
                                          "Перо, в чьём идентификаторе узла есть этот текст");
    pen->type_name("ТЕКСТ")->excludes(node);
    CLI::Option* from = command.add_option(
        "--from", options->from, "Начало, местное время \"2026-11-21 12:33:10\"; с Z — UTC");
    from->check(timeText())->type_name("ВРЕМЯ");
    command.add_option("--to", options->to, "Конец; иначе текущее время")
        ->check(timeText())
        ->type_name("ВРЕМЯ");
    command
        .add_option_function<std::string>(
            "--last",
            [options](const std::string& text) {
                options->last = parseDuration(text).value_or(options->last);
            },
            "Начать за столько до конца: 30d, 12h, 45m, 90s; иначе за 1h")
        ->check(CLI::Validator{[](std::string& text) -> std::string {
                                   if (parseDuration(text)) return {};
                                   return "\"" + text + "\" — не время вида 30d, 12h, 45m или 90s";
                               },
                               {}})
        ->type_name("ВРЕМЯ")
        ->excludes(from);
    CLI::Option* drawn = command.add_flag("--plot", options->plot, "График вместо строк CSV");
    CLI::Option* listed =
        command.add_flag("--list", options->list, "Только перечислить перья с историей");
    listed->excludes(drawn);
    command.callback([options, node, pen, &status] {
        if (!options->list && node->count() + pen->count() == 0) {
            throw CLI::ValidationError("history", "укажите --pen или --node (перечень — --list)");
        }
        status = readHistory(*options);
    });
}

}  // namespace tools::opcuaview
