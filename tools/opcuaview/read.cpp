#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/client/details.h"
#include "tools/client/explain.h"
#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/opcuaview/commands.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/report.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

namespace {

constexpr std::size_t kMostFound = 10'000;  // by filters

struct ReadOptions {
    ServerOptions server;
    std::vector<std::string> nodes;
    std::vector<std::string> filters;
};

class Read {
  public:
    explicit Read(const ReadOptions& options) : options_(options), session_(options.server.url) {}

    ExitStatus run() {
        catchStopSignals();
        if (!connect(session_, options_.server.waitSeconds, kNoConnection)) return kCannotConnect;
        UA_StatusCode status = findNamed();
        if (status == UA_STATUSCODE_GOOD && !options_.filters.empty()) status = findByFilters();
        std::vector<const UA_NodeId*> ids;
        for (const NodeId& node : nodes_)
            ids.push_back(node.get());
        if (status == UA_STATUSCODE_GOOD) status = readDetails(session_, ids, details_);
        if (status != UA_STATUSCODE_GOOD) return failed(session_, status);
        if (options_.server.json) {
            printJson();
        } else {
            printTable();
        }
        const bool any = std::any_of(details_.begin(), details_.end(),
                                     [](const Details& one) { return hasValue(*one.value); });
        if (details_.empty() && unknown_ == 0)
            say(in({"выбору не отвечает ни одна переменная", "no variable matches"}));
        return any ? kDone : kNoValue;
    }

  private:
    UA_StatusCode findNamed() {
        for (const std::string& text : options_.nodes) {
            NodeId node;
            const UA_StatusCode status = findNode(session_, text, node);
            if (status == UA_STATUSCODE_BADNODEIDUNKNOWN) {
                say(text + ": " + explained(status, language()));
                ++unknown_;
                continue;
            }
            if (status != UA_STATUSCODE_GOOD) return status;
            nodes_.push_back(std::move(node));
            names_.push_back(printable(text));
        }
        return UA_STATUSCODE_GOOD;
    }

    UA_StatusCode findByFilters() {
        ItemChoice choice;
        choice.filters = options_.filters;
        choice.limit = kMostFound;
        ItemList list;
        const UA_StatusCode status = listItems(session_, choice, list);
        for (Item& item : list.items) {
            names_.push_back(idText(*item.id));
            nodes_.push_back(std::move(item.id));
        }
        if (!list.complete)
            say(in({"найдено больше, прочитаны первые ", "there are more; these are the first "}) +
                std::to_string(list.items.size()));
        return status;
    }

    void printJson() const {
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            Json object;
            object["id"] = idText(*nodes_[i]);
            addDetails(object, details_[i]);
            print(jsonLine(object));
        }
    }

    void printTable() const {
        std::vector<std::vector<std::string>> rows{
            {in({"Узел", "Node"}), in({"Значение", "Value"}), in({"Качество", "Quality"}),
             in({"Тип", "Type"}), in({"Время источника", "Source time"}),
             in({"Время сервера", "Server time"})}};
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            const UA_DataValue& value = *details_[i].value;
            rows.push_back({names_[i], formatValue(value.value), formatQuality(statusOf(value)),
                            details_[i].typeName.empty() ? "—" : details_[i].typeName,
                            value.hasSourceTimestamp ? formatTime(value.sourceTimestamp) : "—",
                            value.hasServerTimestamp ? formatTime(value.serverTimestamp) : "—"});
        }
        if (rows.size() > 1) printAligned(rows);
    }

    const ReadOptions& options_;
    Session session_;
    std::vector<NodeId> nodes_;
    std::vector<std::string> names_;  // as the user named them
    std::vector<Details> details_;
    std::size_t unknown_ = 0;
};

}  // namespace

void addReadCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<ReadOptions>();
    CLI::App& command = addServerCommand(
        line, "read",
        {"Читает значения с качеством и временем", "Reads values with their qualities and times"},
        options->server);
    CLI::Option* nodes = command.add_option(
        "node", options->nodes,
        in({"Узлы \"ns=2;s=...\" или пути \"Котельная/Operative/1_VA/VA_1/...\"",
            "Nodes \"ns=2;s=...\" or paths \"Котельная/Operative/1_VA/VA_1/...\""}));
    nodes->type_name(in({"УЗЕЛ", "NODE"}));
    addFilter(command, options->filters);
    command.callback([options, &status] {
        if (options->nodes.empty() && options->filters.empty()) {
            throw CLI::ValidationError(
                "read", in({"укажите узел или --filter", "name a node or --filter"}));
        }
        status = Read{*options}.run();
    });
}

}  // namespace tools::opcuaview
