#include "tools/opcuaview/watch.h"

#include <cstdio>
#include <exception>
#include <memory>

#include "tools/opcuaview/language.h"
#include "tools/opcuaview/line_view.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/screen.h"
#include "tools/opcuaview/terminal.h"
#include "tools/opcuaview/watch_table.h"

namespace tools::opcuaview {

namespace {

/// The table if the terminal can show it.
ExitStatus show(const WatchOptions& options, WatchTotals& totals) {
    if (!options.plain && !options.json && isTerminal() && hasKeyboard()) {
        std::string problem;
        if (auto screen = Screen::open(problem)) {
            return watchTable(options, std::move(screen), totals);
        }
        say(problem);
    }
    LineView lines{options.json};
    const ExitStatus status = WatchLoop{options, lines}.run();
    totals = lines.totals();
    return status;
}

}  // namespace

ExitStatus watch(const WatchOptions& options) try {
    catchStopSignals();
    WatchTotals totals;
    const ExitStatus status = show(options, totals);
    if (status != kDone) return status;
    if (totals.values == 0) {
        say(in({"ни одного значения не получено", "no value was received"}));
        return kNoValue;
    }
    if (options.json) return kDone;
    std::printf("%s%zu%s%zu\n", in({"Прочитано значений: ", "Values read: "}).c_str(),
                totals.values, in({", из них изменившихся: ", ", changed: "}).c_str(),
                totals.changes);
    return kDone;
} catch (const std::exception& error) {
    // Without a handler nothing would be unwound, and the terminal would stay a full screen.
    say(error.what());
    return kNoValue;
}

namespace {

void addTimes(CLI::App& command, WatchOptions& options) {
    const std::string seconds = in({"СЕКУНДЫ", "SECONDS"});
    command
        .add_option("--seconds", options.runSeconds,
                    in({"Закончить через столько секунд", "End after so many seconds"}))
        ->check(numberFrom(0.1, 1e9))
        ->type_name(seconds);
    command
        .add_option("--interval", options.intervalMs,
                    in({"Период чтения, мс", "Interval of reading, ms"}))
        ->capture_default_str()
        ->check(numberFrom(50, 3'600'000))
        ->type_name(in({"МС", "MS"}));
    command
        .add_option("--old", options.oldSeconds,
                    in({"В таблице отметить значения со временем источника старше; 0 — никакие",
                        "Mark values in the table whose source times are older; 0: none"}))
        ->capture_default_str()
        ->check(numberFrom(0, 1e9))
        ->type_name(seconds);
}

void addLook(CLI::App& command, WatchOptions& options) {
    const std::string text = in({"ТЕКСТ", "TEXT"});
    command.add_flag("--plain", options.plain,
                     in({"Печатать строками: сначала всё, затем изменения",
                         "Print lines: everything first, changes then"}));
    CLI::Option* json =
        command.add_flag("--json", options.json,
                         in({"Печатать объект JSON в строке: сначала всё, затем изменения",
                             "Print a JSON object a line: everything first, changes then"}));
    command
        .add_option(
            "--trend", options.trend,
            in({"Под таблицей — последние минуты пера, в чьём идентификаторе или имени есть "
                "этот текст",
                "Below the table: the last minutes of the pen whose node id or name contains "
                "this text"}))
        ->type_name(text)
        ->excludes(json);
    command
        .add_option("--trend-minutes", options.trendMinutes,
                    in({"За сколько минут", "How many minutes"}))
        ->capture_default_str()
        ->check(numberFrom(1, 1440))
        ->type_name(in({"МИНУТЫ", "MINUTES"}));
}

}  // namespace

void addWatchCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<WatchOptions>();
    CLI::App& command =
        addServerCommand(line, "watch",
                         {"Показывает текущие значения с качеством и временем источника",
                          "Shows current values with their qualities and source times"},
                         options->url, options->waitSeconds);
    addTimes(command, *options);
    addLook(command, *options);
    command
        .add_option("--filter", options->choice.filters,
                    in({"Только переменные с этим текстом в идентификаторе узла или имени; можно "
                        "повторять",
                        "Only variables with this text in their node id or name; can be repeated"}))
        ->type_name(in({"ТЕКСТ", "TEXT"}));
    CLI::Option* node = command.add_option(
        "--node", options->choice.nodeIds,
        in({"Только этот узел, например \"ns=2;s=...\"; можно повторять, без --filter и --limit",
            "Only this node, such as \"ns=2;s=...\"; can be repeated, without --filter and "
            "--limit"}));
    node->check(nodeIdText())->type_name(in({"УЗЕЛ", "NODE"}));
    CLI::Option* limit =
        command.add_option("--limit", options->choice.limit,
                           in({"Не больше стольких переменных, поровну из каждой папки; 0 — все",
                               "No more variables than that, as many of each folder; 0: all"}));
    limit->check(numberFrom(0, 10'000'000))->type_name(in({"ЧИСЛО", "NUMBER"}));
    command.callback([options, node, limit, &status] {
        if (node->count() > 0 && (limit->count() > 0 || !options->choice.filters.empty())) {
            throw CLI::ValidationError("--node", in({"вместе с --filter или --limit не указывается",
                                                     "does not go with --filter or --limit"}));
        }
        options->limitGiven = limit->count() > 0;
        status = watch(*options);
    });
}

}  // namespace tools::opcuaview
