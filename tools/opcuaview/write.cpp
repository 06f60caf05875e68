#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>

#include "tools/client/details.h"
#include "tools/client/explain.h"
#include "tools/client/format.h"
#include "tools/client/parse_value.h"
#include "tools/opcuaview/commands.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/report.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

namespace {

struct WriteOptions {
    ServerOptions server;
    std::string node;
    std::string value;
    bool yes = false;  // without a question
};

bool canAsk() {
    return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

/// @return whether the operator agreed
bool ask(const std::string& question) {
    std::cerr << question << " " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    answer = lowered(answer);
    return answer == "д" || answer == "да" || answer == "y" || answer == "yes";
}

class Write {
  public:
    explicit Write(const WriteOptions& options) : options_(options), session_(options.server.url) {}

    ExitStatus run() {
        catchStopSignals();
        if (!connect(session_, options_.server.waitSeconds, kNoConnection)) return kCannotConnect;
        UA_StatusCode status = findNode(session_, options_.node, node_);
        if (status == UA_STATUSCODE_GOOD) status = read(old_);
        if (status != UA_STATUSCODE_GOOD) return unknown(status);
        if (old_.type == nullptr) {
            // Without a value and a known type: the reason is in the status, if there is one.
            const UA_StatusCode reason = statusOf(*old_.value);
            return unknown(UA_StatusCode_isBad(reason) ? reason
                                                       : UA_STATUSCODE_BADDATATYPEIDUNKNOWN);
        }
        const bool array = hasValue(*old_.value) && !UA_Variant_isScalar(&old_.value->value);
        const std::string problem = parseValue(options_.value, *old_.type, array, language(), new_);
        if (!problem.empty()) {
            say(problem);
            return kBadUsage;
        }
        if (!agreed()) return kNotWritten;
        status = session_.write(*node_, *new_);
        return UA_StatusCode_isBad(status) ? refused(status) : compare();
    }

  private:
    UA_StatusCode read(Details& details) {
        std::vector<Details> list;
        const UA_StatusCode status = readDetails(session_, {node_.get()}, list);
        if (status == UA_STATUSCODE_GOOD) details = std::move(list.front());
        return status;
    }

    ExitStatus unknown(UA_StatusCode status) const {
        if (!session_.isConnected()) return failed(session_, status);
        say(options_.node + ": " + explained(status, language()));
        return kNoValue;
    }

    [[nodiscard]] bool agreed() const {
        if (options_.yes) return true;
        const std::string change = printable(options_.node) + " (" + old_.typeName +
                                   "): " + formatValue(old_.value->value) + " → " +
                                   formatValue(*new_);
        if (ask(change + "\n" + in({"Записать? [д/н]", "Write? [y/n]"}))) return true;
        say(in({"не записано", "not written"}));
        return false;
    }

    ExitStatus refused(UA_StatusCode status) {
        if (!session_.isConnected()) return failed(session_, status);
        say(in({"не записано: ", "not written: "}) + explained(status, language()));
        report(status, old_, false);
        return kNotWritten;
    }

    /// A server may answer Good and yet keep its value, and a controller may take it over only in
    /// its next cycle.
    ExitStatus compare() {
        constexpr auto kLongest = std::chrono::seconds{3};
        const auto deadline = std::chrono::steady_clock::now() + kLongest;
        Details now;
        while (true) {
            const UA_StatusCode status = read(now);
            if (status != UA_STATUSCODE_GOOD) return failed(session_, status);
            const bool same = UA_equal(&now.value->value, new_.get(), &UA_TYPES[UA_TYPES_VARIANT]);
            if (same || stopRequested() || std::chrono::steady_clock::now() >= deadline) {
                report(UA_STATUSCODE_GOOD, now, same);
                return same ? kDone : kNotWritten;
            }
            static_cast<void>(session_.idle(std::chrono::milliseconds{100}));  // read() reports it
        }
    }

    void report(UA_StatusCode status, const Details& now, bool written) const {
        if (options_.server.json) return reportJson(status, now, written);
        if (UA_StatusCode_isBad(status)) return;
        print(printable(options_.node) + ": " + formatValue(old_.value->value) + " → " +
              formatValue(now.value->value) + "  " + formatQuality(statusOf(*now.value)));
        if (written) return;
        say(in({"сервер принял запись, но значение осталось другим: требовалось ",
                "the server accepted the write but has another value: wanted was "}) +
            formatValue(*new_));
    }

    void reportJson(UA_StatusCode status, const Details& now, bool written) const {
        Json object;
        object["id"] = idText(*node_);
        object["old"] = jsonOf(old_.value->value);
        object["wanted"] = jsonOf(*new_);
        object["written"] = written;
        object["status"] = formatQuality(status);
        addDetails(object, now);
        print(jsonLine(object));
    }

    const WriteOptions& options_;
    Session session_;
    NodeId node_;
    Details old_;
    OwnedVariant new_;
};

}  // namespace

void addWriteCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<WriteOptions>();
    CLI::App& command = addServerCommand(
        line, "write",
        {"Записывает значение; тип берётся у прежнего. Перед записью спрашивает, после — сверяет",
         "Writes a value of the type that is there. Asks before, and compares afterwards"},
        options->server);
    command
        .add_option("node", options->node,
                    in({"Узел \"ns=2;s=...\" или путь", "Node \"ns=2;s=...\" or path"}))
        ->required()
        ->type_name(in({"УЗЕЛ", "NODE"}));
    command
        .add_option(
            "value", options->value,
            in({"Значение: число, да/нет, текст, время или массив [1, 2]; отрицательное — "
                "после --",
                "Value: a number, true/false, a text, a time or an array [1, 2]; a negative "
                "one behind --"}))
        ->required()
        ->type_name(in({"ЗНАЧЕНИЕ", "VALUE"}));
    command.add_flag("--yes", options->yes, in({"Не спрашивать", "Do not ask"}));
    command.callback([options, &status] {
        if (!options->yes && !canAsk()) {
            throw CLI::ValidationError(
                "write", in({"спросить негде: нужен терминал или ключ --yes",
                             "there is nobody to ask: a terminal or --yes is needed"}));
        }
        status = Write{*options}.run();
    });
}

}  // namespace tools::opcuaview
