#include "server/diagnostics/OperatorMessages.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <string_view>
#include <utility>

#include "server/diagnostics/LogControllerWriter.h"
#include "server/diagnostics/MsgHandler.h"
#include "server/text/Cp866Literal.h"
#include "server/text/ToUTF8Converter.h"
#include "server/text/Utf8ToCP866Converter.h"

// ---- The one way out ---------------------------------------------------------------------------

void postAndLog(MessageNumber number, const std::vector<JournalArgument>& arguments,
                const std::string& logLineCp866) {
    if (EventJournal* journal = installedEventJournal()) {
        std::vector<JournalArgument> all{getMsgHandler().getNumKontrMsg()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        journal->post(static_cast<std::uint32_t>(number), all);
    }
    getLoggerCtr().writeLogToFile(ToUTF8Converter::convertCP866ToUtf8_manual(logLineCp866));
}

std::string controllerPrefix() {
    return "ЦП "_cp866 + getMsgHandler().getNumContrStroke();
}

// ---- Start and stop ----------------------------------------------------------------------------

void reportStarted(const std::string& version) {
    postAndLog(MessageNumber::started, {version},
               controllerPrefix() + ": OPC UA Сервер: Запуск: Версия: "_cp866 + version);
}

void reportRunning(const std::string& modeCp866) {
    postAndLog(MessageNumber::running, {modeCp866},
               controllerPrefix() + ": OPC UA Сервер: Запущен: "_cp866 + modeCp866);
}

void reportStopped() {
    postAndLog(MessageNumber::stopped, {},
               controllerPrefix() + ": OPC UA Сервер: Остановлен"_cp866);
}

// ---- Configuration errors ----------------------------------------------------------------------

namespace {

enum class Place { none, line, wordAndLine };  // how a text names the place

struct ErrorTexts {
    ConfigError error;
    Place inJournal;
    std::string_view logText;  // after the controller's number; UTF-8
    bool lineInLog;            // the line number follows
};

// KEPT: the rows differ where one would expect them to agree (error 1 lacks the second colon;
// error 2 names its line in the log only, error 3 in the journal only). Required by the interface.
// clang-format off
constexpr std::array<ErrorTexts, 6> kErrorTexts{{
    {ConfigError::fileNotOpened,    Place::none,        ": OPC UA Сервер: Ошибка конфигурации 1 ",         false},
    {ConfigError::samplingInterval, Place::none,        ": OPC UA Сервер: Ошибка конфигурации: 2 ",        true},
    {ConfigError::serverPort,       Place::line,        ": OPC UA Сервер: Ошибка конфигурации: 3 ",        false},
    {ConfigError::attribute,        Place::wordAndLine, ": OPC UA Сервер: Ошибка конфигурации: 4 строка №", true},
    {ConfigError::unknownSection,   Place::wordAndLine, ": OPC UA Сервер: Ошибка конфигурации: 5 строка №", true},
    {ConfigError::unknownKey,       Place::wordAndLine, ": OPC UA Сервер: Ошибка конфигурации: 6 строка №", true},
}};
// clang-format on

constexpr bool rowsInErrorOrder() {
    for (std::size_t i = 0; i < kErrorTexts.size(); ++i) {
        if (static_cast<std::size_t>(kErrorTexts[i].error) != i + 1) return false;
    }
    return true;
}
static_assert(rowsInErrorOrder(), "kErrorTexts is indexed by ConfigError");

/// The journal's text; UTF-8. A place that is not known shows as one blank.
std::string placeText(Place place, const std::string& line) {
    if (place == Place::none || line.empty()) return " ";
    return place == Place::line ? line : "строка №" + line;
}

std::function<void(const ConfigErrorReport&)>& receiverOfErrors() {
    static std::function<void(const ConfigErrorReport&)> receiver;
    return receiver;
}

}  // namespace

void redirectConfigErrors(std::function<void(const ConfigErrorReport&)> receiver) {
    receiverOfErrors() = std::move(receiver);
}

namespace {

/// @param encode  from the UTF-8 of this source to the bytes that journal and log get
template <typename Encode>
void report(ConfigError error, std::optional<std::int32_t> maybeLine, const ConfigSubject& subject,
            Encode encode) {
    const ErrorTexts& texts = kErrorTexts.at(static_cast<std::size_t>(error) - 1);
    assert(maybeLine || (!texts.lineInLog && texts.inJournal != Place::wordAndLine));
    const std::string line = maybeLine ? std::to_string(*maybeLine) : "";
    const std::string logLine = "ЦП " + getMsgHandler().getNumContrStroke() +
                                std::string(texts.logText) + (texts.lineInLog ? line : "");
    const std::string journalText = encode(placeText(texts.inJournal, line));
    if (const auto& receiver = receiverOfErrors()) {
        receiver({error, subject, maybeLine, journalText,
                  ToUTF8Converter::convertCP866ToUtf8_manual(encode(logLine))});
        return;
    }
    postAndLog(MessageNumber::configurationError, {static_cast<std::int32_t>(error), journalText},
               encode(logLine));
}

}  // namespace

void reportConfigError(ConfigError error, std::optional<std::int32_t> maybeLine,
                       const ConfigSubject& subject) {
    report(error, maybeLine, subject, Utf8ToCP866Converter::convertUtf8ToCP866_manual);
}

void reportMissingAttribute(std::int32_t line, const ConfigSubject& subject) {
    // KEPT: only this message stays in UTF-8. The journal gets it unchanged; for the log the same
    // bytes are taken for CP866 and converted once more. Required by the interface.
    report(ConfigError::attribute, line, subject, [](std::string utf8) { return utf8; });
}
