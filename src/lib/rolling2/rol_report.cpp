#include "lib/rolling2/rol_report.h"

#include <array>
#include <cstddef>
#include <cstdio>

#include "lib/util/cp866_text.h"

namespace {

enum class Names { nothing, code, path, codeAndPath, codeAndMessage };

struct TextRow {
    RolText text;
    Names names;
    const char* format;
};

// clang-format off
constexpr std::array<TextRow, 18> kTexts{{
    {RolText::sharedMemoryFailed,    Names::code,           "Rolling LIB: ошибка %d при инициализации (открытие шаренной памяти)\n"_cp866z},
    {RolText::iniFileMissing,        Names::path,           "Rolling LIB: Ini-файл %s не найден. Все установки по умолчанию\n"_cp866z},
    {RolText::messageLost,           Names::codeAndMessage, "Rolling LIB: Внутренняя ошибка %d формирования сообщения (dic=%ld,num=%ld)\n"_cp866z},
    {RolText::messagesNotWritable,   Names::path,           "Rolling LIB: невозможно открыть файл %s для записи сообщений\n"_cp866z},
    {RolText::countersNotWritable,   Names::path,           "Rolling LIB: невозможно открыть файл %s для записи счетчиков\n"_cp866z},
    {RolText::shortWrite,            Names::path,           "Rolling LIB: ошибка записи в файл сообщений %s для записи сообщений\n"_cp866z},
    {RolText::notOnDisk,             Names::path,           "Rolling LIB: ошибка записи файла %s на диск, копия не считается целой\n"_cp866z},
    {RolText::nothingToWrite,        Names::nothing,        "SaveRollThread: Rol2PathCur == NULL\n"_cp866z},
    {RolText::messagesNotReadable,   Names::path,           "Rolling LIB: невозможно открыть файл %s для чтения сообщений\n"_cp866z},
    {RolText::shortHeader,           Names::path,           "Rolling LIB: ошибка при чтении заголовка файла сообщений %s\n"_cp866z},
    {RolText::badHeader,             Names::path,           "Rolling LIB: ошибка в содержимом заголовке файла сообщений %s\n"_cp866z},
    {RolText::badMessage,            Names::codeAndPath,    "Rolling LIB: ошибка %d в файле сообщений %s\n"_cp866z},
    {RolText::countersNotReadable,   Names::path,           "Rolling LIB: невозможно открыть файл %s для чтения счетчиков\n"_cp866z},
    {RolText::badCounters,           Names::path,           "Rolling LIB: ошибка в файле счетчиков %s \n"_cp866z},
    {RolText::mainMessagesFailed,    Names::code,           "RollingLib: LoadMainRolling error %d\n"_cp866z},
    {RolText::mainCountersFailed,    Names::code,           "RollingLib: LoadMainRolling counters error %d\n"_cp866z},
    {RolText::reserveMessagesFailed, Names::code,           "RollingLib: LoadRezRolling error %d\n"_cp866z},
    {RolText::reserveCountersFailed, Names::code,           "RollingLib: LoadRezRolling counters error %d\n"_cp866z},
}};
// clang-format on

constexpr bool rowsInTextOrder() {
    for (std::size_t i = 0; i < kTexts.size(); ++i)
        if (static_cast<std::size_t>(kTexts[i].text) != i) return false;
    return true;
}
static_assert(rowsInTextOrder(), "kTexts is indexed by RolText");

}  // namespace

void RolReport(RolText text, const RolDetails& details) {
    const TextRow& row = kTexts.at(static_cast<std::size_t>(text));
    switch (row.names) {
        case Names::nothing:
            std::fputs(row.format, stdout);
            return;
        case Names::code:
            std::printf(row.format, details.code);
            return;
        case Names::path:
            std::printf(row.format, details.path);
            return;
        case Names::codeAndPath:
            std::printf(row.format, details.code, details.path);
            return;
        case Names::codeAndMessage:
            std::printf(row.format, details.code, details.dictionary, details.messageCode);
            return;
    }
}
