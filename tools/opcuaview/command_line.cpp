#include "tools/opcuaview/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/opcuaview/history.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/text.h"
#include "tools/opcuaview/watch.h"

namespace opcuaview {

namespace {

constexpr const char* kFooter =
    "Код завершения: 0 — получено хотя бы одно значение, 1 — ни одного, 2 — неверные ключи,\n"
    "3 — нет связи с сервером, 4 — связь потеряна и не восстановлена, 5 — история прочитана не\n"
    "до конца.";

/// Russian texts for those of CLI11's errors that an operator may see. The checks above have their
/// own texts.
std::string reasonOf(const CLI::Error& error) {
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

std::string refusal(const CLI::App* app, const CLI::Error& error) {
    return app->get_name() + ": " + reasonOf(error) + "\nСправка: " + app->get_name() + " --help\n";
}

/// CLI11 pads by bytes, but Russian names must be padded by columns.
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

void translateHelp(CLI::App& app) {
    app.formatter(std::make_shared<RussianHelp>());
    app.option_defaults()->group(kOptionGroup);
    app.set_help_flag("-h,--help", "Показать эту справку")->group(kOptionGroup);
    app.footer(kFooter);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    ExitStatus status = kDone;
    CLI::App app{"Клиент OPC UA для сервера контроллера", "opcuaview"};
    translateHelp(app);
    app.failure_message(refusal);
    app.require_subcommand(0, 1);  // none is refused below, after unknown words were reported
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
