#include "tools/opcuaview/options.h"

#include <open62541/util.h>

#include <array>
#include <charconv>
#include <cstdio>

#include "server/opcua/UaView.h"
#include "tools/client/item_list.h"
#include "tools/opcuaview/language.h"

namespace tools::opcuaview {

namespace {

std::string urlProblem(std::string& url) {
    const UA_String text = uaView(url);
    UA_String host = UA_STRING_NULL;
    UA_String path = UA_STRING_NULL;
    UA_UInt16 port = 0;
    if (UA_parseEndpointUrl(&text, &host, &port, &path) == UA_STATUSCODE_GOOD && host.length > 0) {
        return {};
    }
    return "\"" + url +
           in({"\" — не адрес вида opc.tcp://узел:порт",
               "\" is no address like opc.tcp://host:port"});
}

std::string shortText(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.15g", number);
    return text.data();
}

}  // namespace

CLI::Validator numberFrom(double least, double most) {
    const auto range = shortText(least) + ".." + shortText(most);
    return {[=](std::string& text) -> std::string {
                double number = 0;
                const char* end = text.data() + text.size();
                const auto [rest, error] = std::from_chars(text.data(), end, number);
                const bool valid = error == std::errc{} && rest == end;
                if (valid && number >= least && number <= most) return {};
                return "\"" + text + in({"\" — не число из ", "\" is no number in "}) + range;
            },
            {}};
}

CLI::App& addServerCommand(CommandLine& line, const char* name, const Text& description,
                           std::string& url, double& waitSeconds) {
    CLI::App& command = line.command(name, description);
    command.add_option("--url", url, line.in({"Адрес сервера", "Address of the server"}))
        ->capture_default_str()
        ->check(CLI::Validator{urlProblem, {}})
        ->type_name(line.in({"АДРЕС", "ADDRESS"}));
    command
        .add_option("--wait", waitSeconds,
                    line.in({"Сколько секунд добиваться связи", "How long to try to connect"}))
        ->capture_default_str()
        ->check(numberFrom(0, 1e6))
        ->type_name(line.in({"СЕКУНДЫ", "SECONDS"}));
    return command;
}

CLI::App& addServerCommand(CommandLine& line, const char* name, const Text& description,
                           ServerOptions& options) {
    CLI::App& command = addServerCommand(line, name, description, options.url, options.waitSeconds);
    addJsonFlag(command, options.json);
    return command;
}

void addJsonFlag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, in({"Вывод в JSON для программ", "JSON, for programs"}));
}

void addFilter(CLI::App& command, std::vector<std::string>& filters) {
    command
        .add_option(
            "--filter", filters,
            in({"Только переменные с этим текстом в идентификаторе узла или в имени; можно "
                "повторять",
                "Only variables whose node id or name contains this text; can be repeated"}))
        ->expected(1)
        ->type_name(in({"ТЕКСТ", "TEXT"}));
}

CLI::Validator nodeIdText() {
    return {[](std::string& text) -> std::string {
                if (isNodeId(text)) return {};
                return "\"" + text +
                       in({"\" — не идентификатор узла (ns=2;s=... или ns=2;i=...)",
                           "\" is no node id (ns=2;s=... or ns=2;i=...)"});
            },
            {}};
}

}  // namespace tools::opcuaview
