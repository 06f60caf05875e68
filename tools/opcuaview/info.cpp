#include <array>
#include <cstdio>
#include <memory>

#include "tools/client/details.h"
#include "tools/client/explain.h"
#include "tools/client/format.h"
#include "tools/opcuaview/commands.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/report.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

namespace {

enum class Group { server, status, limits, sessions };

struct Row {
    const char* key;  // in JSON
    Text text;
    Group group;
    UA_UInt32 node;  // of the standard's namespace
};

// clang-format off
constexpr Row kRows[] = {
    {"product", {"Продукт", "Product"}, Group::server, UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_PRODUCTNAME},
    {"manufacturer", {"Изготовитель", "Manufacturer"}, Group::server, UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_MANUFACTURERNAME},
    {"productUri", {"URI продукта", "Product URI"}, Group::server, UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_PRODUCTURI},
    {"version", {"Версия", "Version"}, Group::server, UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_SOFTWAREVERSION},
    {"build", {"Сборка", "Build"}, Group::server, UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_BUILDNUMBER},
    {"buildDate", {"Дата сборки", "Build date"}, Group::server, UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_BUILDDATE},
    {"state", {"Состояние", "State"}, Group::status, UA_NS0ID_SERVER_SERVERSTATUS_STATE},
    {"serviceLevel", {"ServiceLevel", "ServiceLevel"}, Group::status, UA_NS0ID_SERVER_SERVICELEVEL},
    {"startTime", {"Запущен", "Started"}, Group::status, UA_NS0ID_SERVER_SERVERSTATUS_STARTTIME},
    {"currentTime", {"Часы сервера", "Server's clock"}, Group::status, UA_NS0ID_SERVER_SERVERSTATUS_CURRENTTIME},
    {"sessions", {"Сеансов", "Sessions"}, Group::sessions, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SERVERDIAGNOSTICSSUMMARY_CURRENTSESSIONCOUNT},
    {"sessionsSinceStart", {"Сеансов с запуска", "Sessions since the start"}, Group::sessions, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SERVERDIAGNOSTICSSUMMARY_CUMULATEDSESSIONCOUNT},
    {"sessionsRejected", {"Сеансов отклонено", "Sessions rejected"}, Group::sessions, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SERVERDIAGNOSTICSSUMMARY_REJECTEDSESSIONCOUNT},
    {"subscriptions", {"Подписок", "Subscriptions"}, Group::sessions, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SERVERDIAGNOSTICSSUMMARY_CURRENTSUBSCRIPTIONCOUNT},
    {"subscriptionsSinceStart", {"Подписок с запуска", "Subscriptions since the start"}, Group::sessions, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SERVERDIAGNOSTICSSUMMARY_CUMULATEDSUBSCRIPTIONCOUNT},
    {"maxSessions", {"Сеансов", "Sessions"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSESSIONS},
    {"maxSubscriptions", {"Подписок", "Subscriptions"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSUBSCRIPTIONS},
    {"maxSubscriptionsPerSession", {"Подписок в сеансе", "Subscriptions per session"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSUBSCRIPTIONSPERSESSION},
    {"maxMonitoredItems", {"Элементов подписок", "Monitored items"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMS},
    {"maxMonitoredItemsPerSubscription", {"Элементов в подписке", "Monitored items per subscription"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMSPERSUBSCRIPTION},
    {"maxMonitoredItemsQueueSize", {"Длина очереди элемента", "Queue of a monitored item"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMSQUEUESIZE},
    {"minSupportedSampleRate", {"Наименьший период опроса, мс", "Shortest sampling interval, ms"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MINSUPPORTEDSAMPLERATE},
    {"maxArrayLength", {"Длина массива", "Length of an array"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXARRAYLENGTH},
    {"maxStringLength", {"Длина строки, байт", "Length of a string, bytes"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSTRINGLENGTH},
    {"maxByteStringLength", {"Длина строки байтов", "Length of a byte string"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXBYTESTRINGLENGTH},
    {"maxBrowseContinuationPoints", {"Точек продолжения обзора", "Continuation points of Browse"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXBROWSECONTINUATIONPOINTS},
    {"maxHistoryContinuationPoints", {"Точек продолжения истории", "Continuation points of HistoryRead"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXHISTORYCONTINUATIONPOINTS},
    {"maxNodesPerRead", {"Узлов в запросе Read", "Nodes per Read"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERREAD},
    {"maxNodesPerWrite", {"Узлов в запросе Write", "Nodes per Write"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERWRITE},
    {"maxNodesPerBrowse", {"Узлов в запросе Browse", "Nodes per Browse"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERBROWSE},
    {"maxNodesPerHistoryReadData", {"Узлов в запросе HistoryRead", "Nodes per HistoryRead"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERHISTORYREADDATA},
    {"maxMonitoredItemsPerCall", {"Элементов в запросе", "Monitored items per request"}, Group::limits, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXMONITOREDITEMSPERCALL},
};
// clang-format on

struct GroupName {
    const char* key;
    Text text;
};

constexpr std::array<GroupName, 4> kGroups{{
    {"server", {"Сервер", "Server"}},
    {"status", {"Состояние", "Status"}},
    {"limits", {"Ограничения", "Limits"}},
    {"sessions", {"Сеансы и подписки", "Sessions and subscriptions"}},
}};

std::string modeText(UA_MessageSecurityMode mode) {
    static constexpr std::array kNames{"Invalid", "None", "Sign", "SignAndEncrypt"};
    const auto index = static_cast<std::size_t>(mode);
    return index < kNames.size() ? kNames[index] : std::to_string(index);
}

std::string rowText(const Row& row, const UA_Variant& value) {
    const double number = numberOf(value);
    if (row.node == UA_NS0ID_SERVER_SERVERSTATUS_STATE)
        return serverStateName(static_cast<int>(number));
    if (row.node == UA_NS0ID_SERVER_SERVICELEVEL) {
        return formatValue(value) + " (" +
               healthText(healthOf(static_cast<UA_Byte>(number)), language()) + ")";
    }
    const bool unlimited = row.group == Group::limits && number == 0;
    return unlimited ? in({"без ограничения", "no limit"}) : formatValue(value);
}

class Info {
  public:
    explicit Info(const ServerOptions& options) : options_(options), session_(options.url) {}

    ExitStatus run() {
        catchStopSignals();
        const bool connected = connect(session_, options_.waitSeconds, kNoConnection);
        if (!connected && session_.barrier() == Barrier::none) return kCannotConnect;
        // Those are shown to everybody, so even if this client is not admitted.
        UA_StatusCode status = findEndpoints(options_.url, std::chrono::seconds{5}, endpoints_);
        if (connected && status == UA_STATUSCODE_GOOD) status = readValues();
        if (status != UA_STATUSCODE_GOOD) return failed(session_, status);
        if (options_.json) {
            printJson();
        } else {
            printText();
        }
        return connected ? kDone : kCannotConnect;
    }

  private:
    UA_StatusCode readValues() {
        std::vector<UA_NodeId> nodes;
        for (const Row& row : kRows)
            nodes.push_back(UA_NODEID_NUMERIC(0, row.node));
        nodes.push_back(UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_NAMESPACEARRAY));
        std::vector<const UA_NodeId*> ids;
        ids.reserve(nodes.size());
        for (const UA_NodeId& node : nodes)
            ids.push_back(&node);
        return session_.read(ids, UA_ATTRIBUTEID_VALUE, values_);
    }

    /// Of a row, or of the namespaces behind the last one; null: the server does not offer it.
    [[nodiscard]] const UA_Variant* valueOf(std::size_t index) const {
        return index < values_.size() && hasValue(*values_[index]) ? &values_[index]->value
                                                                   : nullptr;
    }

    void printText() const {
        print(in({"Точки доступа", "Endpoints"}));
        std::vector<std::vector<std::string>> rows;
        for (const Endpoint& endpoint : endpoints_) {
            std::string tokens;
            for (const std::string& token : endpoint.tokens)
                tokens += (tokens.empty() ? "" : ", ") + token;
            rows.push_back({"  " + endpoint.url, modeText(endpoint.mode), endpoint.policy, tokens});
        }
        printAligned(rows);
        if (!endpoints_.empty())
            printAligned({{"  " + in({"Приложение", "Application"}),
                           endpoints_.front().applicationName, endpoints_.front().applicationUri}});
        for (std::size_t group = 0; group < kGroups.size(); ++group)
            printGroup(static_cast<Group>(group));
        const UA_Variant* namespaces = valueOf(std::size(kRows));
        if (namespaces == nullptr ||
            !UA_Variant_hasArrayType(namespaces, &UA_TYPES[UA_TYPES_STRING]))
            return;
        print(in({"Пространства имён", "Namespaces"}));
        const auto* uri = static_cast<const UA_String*>(namespaces->data);
        for (std::size_t i = 0; i < namespaces->arrayLength; ++i)
            print("  ns=" + std::to_string(i) + "  " + printable(textOf(uri[i])));
    }

    void printGroup(Group group) const {
        std::vector<std::vector<std::string>> rows;
        for (std::size_t i = 0; i < std::size(kRows); ++i) {
            const UA_Variant* value = valueOf(i);
            if (kRows[i].group != group || value == nullptr) continue;
            rows.push_back({"  " + in(kRows[i].text), rowText(kRows[i], *value)});
        }
        if (rows.empty()) return;
        print(in(kGroups[static_cast<std::size_t>(group)].text));
        printAligned(rows);
    }

    void printJson() const {
        Json all;
        all["url"] = options_.url;
        all["endpoints"] = Json::array();
        for (const Endpoint& endpoint : endpoints_) {
            all["endpoints"].push_back({{"url", endpoint.url},
                                        {"mode", modeText(endpoint.mode)},
                                        {"policy", endpoint.policy},
                                        {"users", endpoint.tokens},
                                        {"applicationName", endpoint.applicationName},
                                        {"applicationUri", endpoint.applicationUri}});
        }
        for (std::size_t i = 0; i < std::size(kRows); ++i) {
            const Row& row = kRows[i];
            const UA_Variant* value = valueOf(i);
            if (value == nullptr) continue;
            Json& group = all[kGroups[static_cast<std::size_t>(row.group)].key];
            group[row.key] = row.node == UA_NS0ID_SERVER_SERVERSTATUS_STATE
                                 ? Json(rowText(row, *value))
                                 : jsonOf(*value);
        }
        if (const UA_Variant* namespaces = valueOf(std::size(kRows)))
            all["namespaces"] = jsonOf(*namespaces);
        print(jsonLine(all));
    }

    const ServerOptions& options_;
    Session session_;
    std::vector<Endpoint> endpoints_;
    std::vector<DataValue> values_;  // one for each row, then the namespaces
};

}  // namespace

void addInfoCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<ServerOptions>();
    CLI::App& command =
        addServerCommand(line, "info",
                         {"Показывает точки доступа, версию, состояние и ограничения сервера",
                          "Shows a server's endpoints, version, state and limits"},
                         *options);
    command.callback([options, &status] { status = Info{*options}.run(); });
}

}  // namespace tools::opcuaview
