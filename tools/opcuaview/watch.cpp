#include "tools/opcuaview/watch.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include "tools/client/format.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/table.h"
#include "tools/opcuaview/terminal.h"
#include "tools/opcuaview/trend.h"

namespace tools::opcuaview {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr auto kPlainTrendEvery = std::chrono::seconds{5};
constexpr std::size_t kPlainLimit = 100;  // lines of the first round
constexpr int kFrameRows = 4;  // of a frame that hold no variable: two heads, the foot, the cursor

Clock::duration seconds(double count) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(count));
}

}  // namespace

// ---- One variable between two readings ----------------------------------------------------------

namespace {

struct Reading {
    std::string value;
    std::string quality;
    std::string time;
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    bool number = false;
    bool hasValue = false;

    [[nodiscard]] bool shows(const Reading& other) const {
        return value == other.value && quality == other.quality;
    }
};

Reading readingOf(const UA_DataValue& data) {
    Reading reading;
    reading.hasValue = data.hasValue && !UA_Variant_isEmpty(&data.value);
    reading.value = formatValue(data.value);
    reading.status = data.hasStatus ? data.status : UA_STATUSCODE_GOOD;
    reading.quality = formatQuality(reading.status);
    reading.time = data.hasSourceTimestamp ? formatTime(data.sourceTimestamp) : "—";
    reading.number = isNumber(data.value);
    return reading;
}

}  // namespace

// ---- The two ways to show them ------------------------------------------------------------------

namespace {
/// The result of a round of reading, passed to the output.
struct Round {
    const std::vector<Item>& items;
    const std::vector<Reading>& now;
    const std::vector<bool>& changed;
    bool complete;
    const Trend* trend;  // null if not requested
};

class Output {
  public:
    Output() = default;
    virtual ~Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// How many variables fit.
    [[nodiscard]] virtual std::size_t room() const = 0;
    virtual void show(const Round& round) = 0;

    /// Something else was printed in between.
    virtual void interrupted() {}
};

/// A line for every value that changed, at first for all of them.
class PlainOutput final : public Output {
  public:
    [[nodiscard]] std::size_t room() const override { return kPlainLimit; }

    void show(const Round& round) override {
        if (columns_.empty()) measure(round);
        for (std::size_t i = 0; i < round.items.size(); ++i) {
            if (round.changed[i]) print(round.items[i], round.now[i]);
        }
        if (round.trend != nullptr && Clock::now() >= nextTrend_) {
            std::puts(round.trend->line().c_str());
            nextTrend_ = Clock::now() + kPlainTrendEvery;
        }
        std::fflush(stdout);
    }

  private:
    void measure(const Round& round) {
        columns_ = {23, 3, 7, 12};
        for (std::size_t i = 0; i < round.items.size(); ++i) {
            columns_[1] = std::max(columns_[1], displayWidth(round.items[i].tag));
            columns_[2] = std::max(columns_[2], displayWidth(round.items[i].attribute));
            columns_[3] = std::max(columns_[3], std::min(displayWidth(round.now[i].value), 40));
        }
        printRow({"Время источника", "Тег", "Атрибут", "Значение"}, "Качество", Align::left);
    }

    void print(const Item& item, const Reading& reading) {
        const int width = std::max(columns_[3], displayWidth(reading.value));
        const int usual = std::exchange(columns_[3], width);
        printRow({reading.time, item.tag, item.attribute, reading.value}, reading.quality,
                 reading.number ? Align::right : Align::left);
        columns_[3] = usual;
    }

    void printRow(const std::vector<std::string>& cells, const std::string& last,
                  Align valueAlign) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            line += fitted(cells[i], columns_[i], i == 3 ? valueAlign : Align::left) + "  ";
        }
        std::puts((line + last).c_str());
    }

    std::vector<int> columns_;
    Clock::time_point nextTrend_;
};

/// A table that is redrawn in place.
class TableOutput final : public Output {
  public:
    TableOutput(std::string url, bool trend) : url_(std::move(url)), trend_(trend) {}

    [[nodiscard]] std::size_t room() const override {
        return static_cast<std::size_t>(
            std::max(1, terminalSize().rows - kFrameRows - trendRows()));
    }

    void show(const Round& round) override {
        const TerminalSize size = terminalSize();
        if (size != size_) screen_.startAnew();
        size_ = size;

        std::vector<TableRenderer::Row> rows;
        for (std::size_t i = 0; i < round.items.size() && i < room(); ++i) {
            rows.push_back(rowOf(round.items[i], round.now[i], round.changed[i]));
        }
        std::vector<std::string> lines = table_.render(rows, size.columns, true);
        lines.insert(lines.begin(), fitted(headOf(round, rows.size()), size.columns));
        if (round.trend != nullptr) {
            for (std::string& line : round.trend->picture(trendRows(), std::max(size.columns, 30)))
                lines.push_back(std::move(line));
        }
        lines.push_back(fitted("Ctrl-C — выход", size.columns));
        screen_.draw(lines);
    }

  private:
    /// Rows of the screen for heading, curve and time axis.
    [[nodiscard]] int trendRows() const {
        constexpr int kSmallTerminal = 30;
        if (!trend_) return 0;
        return terminalSize().rows < kSmallTerminal ? 8 : 12;
    }

    [[nodiscard]] std::string headOf(const Round& round, std::size_t shown) const {
        const bool more = !round.complete || shown < round.items.size();
        return url_ + "   показано: " + std::to_string(shown) +
               (more ? " (есть ещё: --filter)" : "") + "   " + formatTime(UA_DateTime_now());
    }

    static TableRenderer::Row rowOf(const Item& item, const Reading& reading, bool changed) {
        Emphasis quality = Emphasis::none;
        if (UA_StatusCode_isUncertain(reading.status)) quality = Emphasis::doubtful;
        if (UA_StatusCode_isBad(reading.status)) quality = Emphasis::bad;
        return {{item.tag},
                {item.attribute},
                {reading.value, reading.number ? Align::right : Align::left,
                 changed ? Emphasis::changed : Emphasis::none},
                {reading.quality, Align::left, quality},
                {timeOfToday(reading.time)}};
    }

    /// The time without the date if it is today's, which the heading shows.
    static std::string timeOfToday(const std::string& time) {
        constexpr std::size_t kDateLength = 11;
        const bool today =
            time.compare(0, kDateLength, formatTime(UA_DateTime_now()), 0, kDateLength) == 0;
        return today ? time.substr(kDateLength) : time;
    }

    std::string url_;
    bool trend_;
    Screen screen_;
    TerminalSize size_{};
    TableRenderer table_{{{"Тег", 8, 3},
                          {"Атрибут", 6, 4},
                          {"Значение", 12, 2},
                          {"Качество", 9, 1},
                          {"Время источника", 12, 5}}};
};
}  // namespace

// ---- The command --------------------------------------------------------------------------------

namespace {
class Watch {
  public:
    explicit Watch(const WatchOptions& options)
        : options_(options),
          session_(options.url),
          table_(!options.plain && isTerminal()),
          output_(table_ ? std::unique_ptr<Output>{std::make_unique<TableOutput>(
                               options.url, !options.trend.empty())}
                         : std::make_unique<PlainOutput>()) {
        if (options.trend.empty()) return;
        trend_.emplace(session_, options.trend, std::chrono::minutes{options.trendMinutes});
    }

    ExitStatus run() {
        catchStopSignals();
        if (!connectNow(kNoConnection)) return stopRequested() ? kNoValue : kCannotConnect;
        UA_StatusCode status = loadAll();
        startedAt_ = Clock::now();  // --seconds does not include the time for reading a large tree
        while (!over()) {
            if (status == UA_STATUSCODE_GOOD) {
                if (items_.items.empty()) return noVariables();
                status = readOnce();
            }
            if (status == UA_STATUSCODE_GOOD) {
                status = idleUntilNextRound();
                continue;
            }
            if (over()) break;
            if (!reconnect(status)) return over() ? finish() : kConnectionLost;
            status = loadAll();
        }
        return finish();
    }

  private:
    [[nodiscard]] bool over() const {
        const bool timed = options_.runSeconds > 0;
        return stopRequested() ||
               (timed && Clock::now() - startedAt_ >= seconds(options_.runSeconds));
    }

    /// Tries until the time of --wait is over; reports what failed.
    bool connectNow(const Text& problem) {
        return connect(session_, options_.waitSeconds, problem, [this](const std::string& text) {
            if (table_) report(text + in({", жду", ", waiting"}));
        });
    }

    bool reconnect(UA_StatusCode status) {
        report("связь с " + options_.url + " потеряна (" + formatQuality(status) +
               "), восстанавливаю");
        if (!connectNow(kNotRestored)) return false;
        report("связь восстановлена");
        return true;
    }

    /// Called after a connect.
    UA_StatusCode loadAll() {
        const UA_StatusCode status = trend_ ? trend_->find() : UA_STATUSCODE_GOOD;
        return status == UA_STATUSCODE_GOOD ? loadItems() : status;
    }

    UA_StatusCode loadItems() {
        ItemChoice choice = options_.choice;
        if (!options_.limitGiven) choice.limit = output_->room();
        room_ = output_->room();
        previous_.clear();
        return listItems(session_, choice, items_, [this](std::size_t seen) {
            if (table_) report("просмотрено переменных: " + std::to_string(seen));
        });
    }

    UA_StatusCode readOnce() {
        std::vector<const UA_NodeId*> ids;
        for (const Item& item : items_.items)
            ids.push_back(item.id.get());
        std::vector<DataValue> values;
        UA_StatusCode status = session_.read(ids, UA_ATTRIBUTEID_VALUE, values);
        if (status == UA_STATUSCODE_GOOD && trend_) status = trend_->update();
        if (status != UA_STATUSCODE_GOOD) return status;

        std::vector<Reading> now;
        std::vector<bool> changed;
        for (const DataValue& value : values) {
            now.push_back(readingOf(*value));
            const bool first = previous_.empty();
            changed.push_back(first || !now.back().shows(previous_[now.size() - 1]));
            valuesRead_ += now.back().hasValue ? 1 : 0;
            changes_ += !first && changed.back() ? 1 : 0;
        }
        output_->show({items_.items, now, changed, items_.complete, trend_ ? &*trend_ : nullptr});
        previous_ = std::move(now);
        return UA_STATUSCODE_GOOD;
    }

    /// Also reloads the list when the number of variables that fit the terminal has changed.
    UA_StatusCode idleUntilNextRound() {
        const auto next = Clock::now() + milliseconds{options_.intervalMs};
        while (!over() && Clock::now() < next) {
            const auto rest = std::chrono::ceil<milliseconds>(next - Clock::now());
            const UA_StatusCode status =
                session_.idle(std::clamp(rest, milliseconds{1}, milliseconds{100}));
            if (UA_StatusCode_isBad(status)) return status;
        }
        const bool fitsAnother = !options_.limitGiven && output_->room() != room_;
        return fitsAnother ? loadItems() : UA_STATUSCODE_GOOD;
    }

    ExitStatus noVariables() const {
        const bool chosen = !options_.choice.filters.empty();
        say(options_.url + (chosen ? ": выбору не отвечает ни одна переменная"
                                   : ": на сервере нет ни одной переменной"));
        return kNoValue;
    }

    ExitStatus finish() {
        output_.reset();  // shows the cursor again
        if (valuesRead_ == 0) {
            say("ни одного значения не получено");
            return kNoValue;
        }
        std::printf("Прочитано значений: %zu, из них изменившихся: %zu\n", valuesRead_, changes_);
        return kDone;
    }

    /// Prints a message between two outputs.
    void report(const std::string& text) {
        say(text);
        output_->interrupted();
    }

    const WatchOptions& options_;
    Session session_;
    bool table_;
    std::unique_ptr<Output> output_;
    std::optional<Trend> trend_;
    Clock::time_point startedAt_;
    ItemList items_;
    std::vector<Reading> previous_;  // empty before the first round after a connect
    std::size_t room_ = 0;
    std::size_t valuesRead_ = 0;
    std::size_t changes_ = 0;
};
}  // namespace

ExitStatus watch(const WatchOptions& options) {
    return Watch{options}.run();
}

void addWatchCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<WatchOptions>();
    CLI::App& command =
        addServerCommand(line, "watch",
                         {"Показывает текущие значения с качеством и временем источника",
                          "Shows current values with their qualities and source times"},
                         options->url, options->waitSeconds);
    command.add_option("--seconds", options->runSeconds, "Закончить через столько секунд")
        ->check(numberFrom(0.1, 1e9))
        ->type_name("СЕКУНДЫ");
    command.add_option("--interval", options->intervalMs, "Период чтения, мс")
        ->capture_default_str()
        ->check(numberFrom(50, 3'600'000))
        ->type_name("МС");
    command.add_flag("--plain", options->plain, "Печатать строками: сначала всё, затем изменения");
    command
        .add_option("--trend", options->trend,
                    "Под таблицей — последние минуты пера, в чьём идентификаторе есть этот текст")
        ->type_name("ТЕКСТ");
    command.add_option("--trend-minutes", options->trendMinutes, "За сколько минут")
        ->capture_default_str()
        ->check(numberFrom(1, 1440))
        ->type_name("МИНУТЫ");
    command
        .add_option("--filter", options->choice.filters,
                    "Только переменные с этим текстом в идентификаторе узла; можно повторять")
        ->type_name("ТЕКСТ");
    CLI::Option* node = command.add_option(
        "--node", options->choice.nodeIds,
        "Только этот узел, например \"ns=1;s=...\"; можно повторять, без --filter и --limit");
    node->check(nodeIdText())->type_name("УЗЕЛ");
    CLI::Option* limit =
        command.add_option("--limit", options->choice.limit,
                           "Не больше стольких переменных, поровну из каждой папки; 0 — все");
    limit->check(numberFrom(0, 10'000'000))->type_name("ЧИСЛО");
    command.callback([options, node, limit, &status] {
        if (node->count() > 0 && (limit->count() > 0 || !options->choice.filters.empty())) {
            throw CLI::ValidationError("--node", "вместе с --filter или --limit не указывается");
        }
        options->limitGiven = limit->count() > 0;
        status = watch(*options);
    });
}

}  // namespace tools::opcuaview
