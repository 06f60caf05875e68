#include "tools/opcuaview/command_line.h"

#include "tools/command_line/command_line.h"
#include "tools/opcuaview/commands.h"
#include "tools/opcuaview/history.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/plot_command.h"
#include "tools/opcuaview/watch.h"

namespace tools::opcuaview {

namespace {

constexpr Text kDescription{"Клиент OPC UA для сервера контроллера и для любого другого",
                            "OPC UA client for the controller's server and any other"};
constexpr Text kFooter{
    "Код завершения: 0 — получено хотя бы одно значение, 1 — ни одного, 2 — неверные ключи,\n"
    "3 — нет связи с сервером, 4 — связь потеряна и не восстановлена, 5 — история или дерево\n"
    "прочитаны не до конца, 6 — значение или график не записаны. У check свои: 0 OK, 1 WARNING,\n"
    "2 CRITICAL, 3 UNKNOWN.",
    "Exit status: 0 at least one value was received, 1 none, 2 bad usage, 3 no connection to the\n"
    "server, 4 the connection was lost and not restored, 5 the history or tree was not read to\n"
    "its end, 6 the value or plot was not written. check has its own: 0 OK, 1 WARNING,\n"
    "2 CRITICAL, 3 UNKNOWN."};

void declareCommands(CommandLine& line, ExitStatus& status) {
    // None is refused later, after unknown words were reported.
    line.app().require_subcommand(0, 1);
    addWatchCommand(line, status);
    addHistoryCommand(line, status);
    addPlotCommand(line, status);
    addTreeCommand(line, status);
    addReadCommand(line, status);
    addWriteCommand(line, status);
    addInfoCommand(line, status);
    addCheckCommand(line, status);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    ExitStatus status = kDone;
    setLanguage(askedLanguage(argc, argv));
    CommandLine line("opcuaview", kDescription, kFooter, language());
    declareCommands(line, status);
    if (const auto ended = line.parse(argc, argv, kBadUsage)) {
        const bool refusedCheck = *ended != 0 && line.app().got_subcommand("check");
        return refusedCheck ? int{kUnknown} : *ended;
    }
    if (line.app().get_subcommands().empty()) {
        line.refuse(line.in({"не указана команда", "no command is named"}));
        return kBadUsage;
    }
    return status;
}

void describe(Language language, const CommandLineReader& reader) {
    ExitStatus status = kDone;
    setLanguage(language);
    CommandLine line("opcuaview", kDescription, kFooter, language);
    declareCommands(line, status);
    reader(line.app());
}

}  // namespace tools::opcuaview
