#include "tools/opcuaview/history.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "tools/client/format.h"
#include "tools/client/json.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/history_reader.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/pens.h"
#include "tools/opcuaview/plot.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

// ---- Texts --------------------------------------------------------------------------------------

std::string csvLine(const HistoryValue& value) {
    std::string text = (value.time != 0 ? isoTime(value.time) : "") + ",";
    if (!std::isnan(value.number)) {
        std::array<char, 32> number{};
        std::snprintf(number.data(), number.size(), "%.*g", value.wide ? 17 : 9, value.number);
        text += number.data();
    }
    return text + "," + formatQuality(value.status);
}

Json historyJson(const HistoryValue& value) {
    Json object;
    object["time"] = value.time != 0 ? Json(isoTime(value.time)) : Json(nullptr);
    object["value"] = value.number;  // NaN is written as null
    object["quality"] = formatQuality(value.status);
    return object;
}

// ---- The command --------------------------------------------------------------------------------

namespace {

std::string penJson(const Item& pen) {
    Json object;
    object["id"] = idText(*pen.id);
    object["name"] = pen.attribute;
    object["parent"] = pen.tag;
    return jsonLine(object);
}

class HistoryCommand {
  public:
    explicit HistoryCommand(const HistoryOptions& options)
        : options_(options),
          session_(options.url),
          range_(timeRange(options.time, UA_DateTime_now())) {}

    ExitStatus run() {
        catchStopSignals();
        if (!connect(session_, options_.waitSeconds, kNoConnection)) return kCannotConnect;
        if (options_.list) return list();
        const ExitStatus chosen = findNode();
        if (chosen != kDone) return chosen;
        if (!options_.plot && !options_.json) std::puts("time,value,quality");
        const ExitStatus status = HistoryReader{session_, options_.waitSeconds}.read(
            *node_.get(), range_, {}, [this](const auto& values) { take(values); });
        if (options_.plot && !values_.empty()) draw();
        std::fflush(stdout);
        return status;
    }

  private:
    ExitStatus findNode() {
        if (!options_.nodeId.empty()) {
            // The text was already checked when the command line was parsed.
            static_cast<void>(UA_NodeId_parse(node_.get(), uaView(options_.nodeId)));
            return kDone;
        }
        std::vector<Item> pens;
        const Item* pen = nullptr;
        ExitStatus status = readPens(session_, pens);
        if (status == kDone) status = choosePen(pens, options_.pen, pen);
        if (pen != nullptr) node_ = NodeId::copyOf(*pen->id.get());
        return status;
    }

    ExitStatus list() {
        std::vector<Item> pens;
        const ExitStatus status = readPens(session_, pens);
        if (status != kDone) return status;
        const auto matching = matchingPens(pens, options_.pen);
        for (const Item* pen : matching)
            std::puts((options_.json ? penJson(*pen) : idText(*pen->id)).c_str());
        if (!matching.empty()) return kDone;
        say(in({"перьев с историей на сервере нет", "the server has no pens with a history"}));
        return kNoValue;
    }

    void take(const std::vector<HistoryValue>& values) {
        if (options_.plot) {
            values_.insert(values_.end(), values.begin(), values.end());
            return;
        }
        for (const HistoryValue& value : values)
            std::puts((options_.json ? jsonLine(historyJson(value)) : csvLine(value)).c_str());
    }

    void draw() const {
        const TerminalSize size = isTerminal() ? terminalSize() : TerminalSize{24, 80};
        const int rows = std::clamp(size.rows - 4, 6, 24);
        std::puts((idText(*node_.get()) + "   " + rangeText(values_) + "   " +
                   formatTime(range_.from) + " — " + formatTime(range_.to))
                      .c_str());
        for (const std::string& line :
             plot(values_, range_.from, range_.to, rows, std::max(size.columns, 30)))
            std::puts(line.c_str());
    }

    const HistoryOptions& options_;
    Session session_;
    NodeId node_;
    TimeRange range_;
    std::vector<HistoryValue> values_;  // for a plot only
};

}  // namespace

ExitStatus readHistory(const HistoryOptions& options) {
    return HistoryCommand{options}.run();
}

// ---- The command line ---------------------------------------------------------------------------

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
    addTimeOptions(command, options->time);
    CLI::Option* drawn = command.add_flag(
        "--plot", options->plot, in({"График вместо строк CSV", "A plot instead of CSV lines"}));
    addJsonFlag(command, options->json);
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
