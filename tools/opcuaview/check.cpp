#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

#include "tools/client/details.h"
#include "tools/client/explain.h"
#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/client/json.h"
#include "tools/opcuaview/commands.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/report.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

struct CheckOptions {
    ServerOptions server;
    ItemChoice choice;
    double maxAgeSeconds = kNone;  // NaN: any age is fine
    double maxBad = kNone;         // NaN: as long as not all are bad
};

/// What was found out about a server.
struct Findings {
    std::size_t values = 0;  // variables that were read
    std::size_t bad = 0;
    std::size_t uncertain = 0;
    double ageSeconds = kNone;  // of the newest value, by the server's clock
    double serviceLevel = kNone;
    double state = kNone;
    double seconds = 0;  // that all of it took
};

class Check {
  public:
    explicit Check(const CheckOptions& options) : options_(options), session_(options.server.url) {}

    CheckStatus run() {
        catchStopSignals();
        const auto begun = std::chrono::steady_clock::now();
        const UA_StatusCode status = connectWithin(session_, options_.server.waitSeconds);
        if (status != UA_STATUSCODE_GOOD) {
            complain(kCritical, in(kNoConnection) + options_.server.url + " (" +
                                    session_.problemText(status, language()) + ")");
        } else {
            inquire();
        }
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
        found_.seconds = taken.count();
        print(options_.server.json ? jsonLine(json()) : line());
        return status_;
    }

  private:
    void complain(CheckStatus status, const std::string& text) {
        status_ = std::max(status_, status);
        problems_.push_back(text);
    }

    void inquire() {
        UA_StatusCode status = readServer();
        if (status == UA_STATUSCODE_GOOD) status = readValues();
        if (status != UA_STATUSCODE_GOOD) {
            complain(kCritical, in({"сервер не ответил на запрос: ",
                                    "the server did not answer a request: "}) +
                                    formatQuality(status));
            return;
        }
        judgeServer();
        judgeValues();
    }

    UA_StatusCode readServer() {
        const std::array<UA_NodeId, 2> nodes{
            UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_STATE),
            UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVICELEVEL)};
        std::vector<DataValue> values;
        const UA_StatusCode status =
            session_.read({&nodes[0], &nodes[1]}, UA_ATTRIBUTEID_VALUE, values);
        if (status != UA_STATUSCODE_GOOD) return status;
        found_.state = numberOf(values[0]->value);
        found_.serviceLevel = numberOf(values[1]->value);
        return status;
    }

    UA_StatusCode readValues() {
        ItemList list;
        UA_StatusCode status = listItems(session_, options_.choice, list);
        if (status == UA_STATUSCODE_GOOD) status = leaveOutPens(list);
        if (status != UA_STATUSCODE_GOOD) return status;
        const UA_NodeId clock = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_CURRENTTIME);
        std::vector<const UA_NodeId*> ids;
        for (const Item& item : list.items)
            ids.push_back(item.id.get());
        ids.push_back(&clock);
        std::vector<DataValue> values;
        status = session_.read(ids, UA_ATTRIBUTEID_VALUE, values);
        if (status != UA_STATUSCODE_GOOD) return status;
        const UA_Variant& time = values.back()->value;
        const UA_DateTime now = UA_Variant_hasScalarType(&time, &UA_TYPES[UA_TYPES_DATETIME])
                                    ? *static_cast<const UA_DateTime*>(time.data)
                                    : UA_DateTime_now();
        values.pop_back();
        count(values, now);
        return status;
    }

    /// The value of one of the controller's pens never changes and is always good: it says nothing
    /// about the server. A pen that was named counts.
    UA_StatusCode leaveOutPens(ItemList& list) {
        if (session_.controllerNamespace() == 0 || !options_.choice.nodeIds.empty()) {
            return UA_STATUSCODE_GOOD;
        }
        std::vector<Item> pens;
        const UA_StatusCode status = listPens(session_, pens);
        SeenNodes seen;
        for (const Item& pen : pens)
            seen.add(*pen.id);
        std::erase_if(list.items, [&](const Item& item) { return !seen.add(*item.id); });
        return status;
    }

    void count(const std::vector<DataValue>& values, UA_DateTime now) {
        UA_DateTime newest = 0;
        for (const DataValue& value : values) {
            const UA_StatusCode status = statusOf(*value);
            ++found_.values;
            found_.bad += UA_StatusCode_isBad(status) ? 1 : 0;
            found_.uncertain += UA_StatusCode_isUncertain(status) ? 1 : 0;
            if (value->hasSourceTimestamp) newest = std::max(newest, value->sourceTimestamp);
        }
        if (newest != 0)
            found_.ageSeconds = static_cast<double>(now - newest) / double{UA_DATETIME_SEC};
    }

    void judgeServer() {
        if (found_.state != 0 && !std::isnan(found_.state)) {
            complain(kCritical, in({"состояние сервера ", "the server's state is "}) +
                                    serverStateName(static_cast<int>(found_.state)));
        }
        if (std::isnan(found_.serviceLevel)) return;  // not offered
        const ServiceHealth health = healthOf(static_cast<UA_Byte>(found_.serviceLevel));
        if (health == ServiceHealth::healthy) return;
        complain(health == ServiceHealth::degraded ? kWarning : kCritical,
                 "ServiceLevel " + std::to_string(static_cast<int>(found_.serviceLevel)) + ", " +
                     healthText(health, language()));
    }

    void judgeValues() {
        if (found_.values == 0) {
            complain(kCritical, in({"сервер не публикует ни одной переменной: конфигурация не "
                                    "загружена или выбору ничего не отвечает",
                                    "the server publishes no variable: no configuration is loaded, "
                                    "or nothing matches"}));
            return;
        }
        if (found_.bad == found_.values) {
            complain(kCritical, in({"все значения плохие", "all values are bad"}));
        } else if (static_cast<double>(found_.bad) > options_.maxBad) {
            complain(kWarning, in({"плохих значений больше допустимого: ",
                                   "more bad values than allowed: "}) +
                                   std::to_string(found_.bad));
        }
        if (std::isnan(options_.maxAgeSeconds)) return;
        if (std::isnan(found_.ageSeconds)) {
            complain(kCritical, in({"у значений нет времени", "the values have no time"}));
        } else if (found_.ageSeconds > options_.maxAgeSeconds) {
            complain(kCritical, in({"значения устарели: самому новому ",
                                    "the values are old: the newest has "}) +
                                    number(found_.ageSeconds) + in({" с", " s"}));
        }
    }

    static std::string number(double number) {
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "%.3f", number);
        return text.data();
    }

    [[nodiscard]] const char* word() const {
        static constexpr std::array kWords{"OK", "WARNING", "CRITICAL", "UNKNOWN"};
        return kWords[static_cast<std::size_t>(status_)];
    }

    /// The form that monitoring systems expect: status, text, performance data behind a bar.
    [[nodiscard]] std::string line() const {
        std::string text = std::string{"OPCUA "} + word() + " - ";
        for (const std::string& problem : problems_)
            text += problem + "; ";
        text += in({"значений ", "values "}) + std::to_string(found_.values) +
                in({", плохих ", ", bad "}) + std::to_string(found_.bad);
        if (!std::isnan(found_.ageSeconds))
            text += in({", самому новому ", ", the newest has "}) + number(found_.ageSeconds) +
                    in({" с", " s"});
        std::replace(text.begin(), text.end(), '|', '/');
        text += " | values=" + std::to_string(found_.values) +
                " bad=" + std::to_string(found_.bad) + ";" + threshold(options_.maxBad) +
                " uncertain=" + std::to_string(found_.uncertain);
        if (!std::isnan(found_.ageSeconds))
            text += " age=" + number(found_.ageSeconds) + "s;;" + threshold(options_.maxAgeSeconds);
        if (!std::isnan(found_.serviceLevel))
            text += " service_level=" + std::to_string(static_cast<int>(found_.serviceLevel));
        return text + " time=" + number(found_.seconds) + "s";
    }

    static std::string threshold(double number) {
        std::array<char, 64> text{};
        if (!std::isnan(number)) std::snprintf(text.data(), text.size(), "%.15g", number);
        return text.data();
    }

    [[nodiscard]] Json json() const {
        Json object;
        object["status"] = word();
        object["url"] = options_.server.url;
        object["problems"] = problems_;
        object["values"] = found_.values;
        object["bad"] = found_.bad;
        object["uncertain"] = found_.uncertain;
        object["ageSeconds"] = found_.ageSeconds;  // NaN is written as null
        object["serviceLevel"] = std::isnan(found_.serviceLevel)
                                     ? Json(nullptr)
                                     : Json(static_cast<int>(found_.serviceLevel));
        object["state"] = std::isnan(found_.state)
                              ? Json(nullptr)
                              : Json(serverStateName(static_cast<int>(found_.state)));
        object["seconds"] = found_.seconds;
        return object;
    }

    const CheckOptions& options_;
    Session session_;
    Findings found_;
    std::vector<std::string> problems_;
    CheckStatus status_ = kOk;
};

}  // namespace

void addCheckCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<CheckOptions>();
    options->choice.limit = 1000;
    CLI::App& command = addServerCommand(
        line, "check",
        {"Одна строка о здоровье сервера для систем мониторинга; код: 0 OK, 1 WARNING, 2 CRITICAL, "
         "3 UNKNOWN",
         "One line on a server's health for monitoring systems; status: 0 OK, 1 WARNING, 2 "
         "CRITICAL, 3 UNKNOWN"},
        options->server);
    command
        .add_option("--max-age", options->maxAgeSeconds,
                    in({"CRITICAL, если самое новое значение старше",
                        "CRITICAL if the newest value is older"}))
        ->check(numberFrom(0, 1e9))
        ->type_name(in({"СЕКУНДЫ", "SECONDS"}));
    command
        .add_option("--max-bad", options->maxBad,
                    in({"WARNING, если плохих значений больше", "WARNING if more values are bad"}))
        ->check(numberFrom(0, 1e9))
        ->type_name(in({"ЧИСЛО", "COUNT"}));
    command
        .add_option("--limit", options->choice.limit,
                    in({"Прочитать не больше стольких переменных, поровну из каждой папки; 0 — все",
                        "Read so many variables at most, evenly from all folders; 0: all"}))
        ->capture_default_str()
        ->check(numberFrom(0, 10'000'000))
        ->type_name(in({"ЧИСЛО", "COUNT"}));
    addFilter(command, options->choice.filters);
    command
        .add_option("--node", options->choice.nodeIds,
                    in({"Только этот узел; можно повторять", "Only this node; can be repeated"}))
        ->expected(1)
        ->check(nodeIdText())
        ->type_name(in({"УЗЕЛ", "NODE"}));
    command.callback(
        [options, &status] { status = static_cast<ExitStatus>(Check{*options}.run()); });
}

}  // namespace tools::opcuaview
