#include "tools/opcuaview/command_line.h"

#include <open62541/util.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "tools/opcuaview/history.h"
#include "tools/opcuaview/item_list.h"
#include "tools/opcuaview/text.h"
#include "tools/opcuaview/watch.h"

namespace opcuaview {

static constexpr const char* kOptionGroup = "Ключи";
static constexpr const char* kFooter =
    "Код завершения: 0 — получено хотя бы одно значение, 1 — ни одного, 2 — неверные ключи,\n"
    "3 — нет связи с сервером, 4 — связь потеряна и не восстановлена, 5 — история прочитана не\n"
    "до конца.";

static std::string urlProblem(std::string& url) {
    const UA_String text = uaView(url);
    UA_String host = UA_STRING_NULL;
    UA_String path = UA_STRING_NULL;
    UA_UInt16 port = 0;
    if (UA_parseEndpointUrl(&text, &host, &port, &path) == UA_STATUSCODE_GOOD && host.length > 0) {
        return {};
    }
    return "\"" + url + "\" — не адрес вида opc.tcp://узел:порт";
}

static std::string shortText(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.15g", number);
    return text.data();
}

CLI::Validator numberFrom(double least, double most) {
    const auto range = shortText(least) + ".." + shortText(most);
    return {[=](std::string& text) -> std::string {
                double number = 0;
                const char* end = text.data() + text.size();
                const auto [rest, error] = std::from_chars(text.data(), end, number);
                const bool valid = error == std::errc{} && rest == end;
                if (valid && number >= least && number <= most) return {};
                return "\"" + text + "\" — не число из " + range;
            },
            {}};
}

CLI::App& addServerCommand(CLI::App& app, const char* name, const char* description,
                           std::string& url, double& waitSeconds) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.group("Команды");
    command.get_help_ptr()->group(kOptionGroup);
    command.add_option("--url", url, "Адрес сервера")
        ->capture_default_str()
        ->check(CLI::Validator{urlProblem, {}})
        ->type_name("АДРЕС");
    command.add_option("--wait", waitSeconds, "Сколько секунд добиваться связи")
        ->capture_default_str()
        ->check(numberFrom(0, 1e6))
        ->type_name("СЕКУНДЫ");
    return command;
}

CLI::Validator nodeIdText() {
    return {[](std::string& text) -> std::string {
                if (isNodeId(text)) return {};
                return "\"" + text + "\" — не идентификатор узла (ns=1;s=... или ns=1;i=...)";
            },
            {}};
}

/// What CLI11 says in English, for the refusals that an operator meets. The checks above speak for
/// themselves.
static std::string reasonOf(const CLI::Error& error) {
    std::string text = error.what();
    const std::string option = text.substr(0, text.find(':'));
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return "неизвестный аргумент " + text.substr(text.rfind(": ") + 2);
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) return "не указана команда";
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return option + ": не то число значений";
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
        return "ключи исключают друг друга (" + text + ")";
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) {
        return "значение не подходит (" + text + ")";
    }
    return text;
}

static std::string refusal(const CLI::App* app, const CLI::Error& error) {
    return app->get_name() + ": " + reasonOf(error) + "\nСправка: " + app->get_name() + " --help\n";
}

namespace {
/// CLI11 pads by bytes; Russian names need columns.
class RussianHelp final : public CLI::Formatter {
  public:
    RussianHelp() {
        label("Usage", "Вызов");
        label("OPTIONS", "КЛЮЧИ");
        label("SUBCOMMAND", "КОМАНДА");
    }

    std::string make_option(const CLI::Option* option, bool positional) const override {
        const std::string name =
            "  " + make_option_name(option, positional) + make_option_opts(option);
        return fitted(name, std::max(kColumn, displayWidth(name) + 2)) + make_option_desc(option) +
               "\n";
    }

  private:
    static constexpr int kColumn = 22;
};
}  // namespace

static void translateHelp(CLI::App& app) {
    app.formatter(std::make_shared<RussianHelp>());
    app.option_defaults()->group(kOptionGroup);
    app.set_help_flag("-h,--help", "Показать эту справку")->group(kOptionGroup);
    app.footer(kFooter);
}

int runProgram(int argc, const char* const* argv) {
    ExitStatus status = kDone;
    CLI::App app{"Клиент OPC UA для сервера контроллера", "opcuaview"};
    translateHelp(app);
    app.failure_message(refusal);
    app.require_subcommand(0, 1);  // none is refused below, after an unknown word has been named
    addWatchCommand(app, status);
    addHistoryCommand(app, status);
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) throw CLI::RequiredError("");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kBadUsage;
    }
    return status;
}

}  // namespace opcuaview
