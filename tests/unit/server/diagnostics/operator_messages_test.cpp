#include "server/diagnostics/OperatorMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/operator_view.h"

using testing::ElementsAre;
using Message = RecordingJournal::Message;

class OperatorMessages : public OperatorView {};

TEST_F(OperatorMessages, TellStartAndStop) {
    reportStarted("1.0-0");
    reportRunning("\xE2\xA5\xA3\xA8 OA");  // теги OA
    reportRunning("");
    reportStopped();
    EXPECT_THAT(journal.messages, ElementsAre(Message{18091, {3, "1.0-0"}},
                                              Message{18092, {3, "\xE2\xA5\xA3\xA8 OA"}},
                                              Message{18092, {3, ""}}, Message{18093, {3}}));
    EXPECT_THAT(logLines(),
                ElementsAre("ЦП 3: OPC UA Сервер: Запуск: Версия: 1.0-0",
                            "ЦП 3: OPC UA Сервер: Запущен: теги OA",
                            "ЦП 3: OPC UA Сервер: Запущен: ", "ЦП 3: OPC UA Сервер: Остановлен"));
}

TEST_F(OperatorMessages, TellConfigurationErrors) {
    const std::string line42 =
        "\xE1\xE2\xE0\xAE\xAA\xA0 \xFC"
        "42";  // строка №42
    const struct {
        ConfigError error;
        std::optional<std::int32_t> maybeLine;
        std::int32_t number;
        std::string journalText;
        std::string logText;
    } cases[] = {
        {ConfigError::fileNotOpened, {}, 1, " ", "Ошибка конфигурации 1 "},
        {ConfigError::samplingInterval, 42, 2, " ", "Ошибка конфигурации: 2 42"},
        {ConfigError::serverPort, {}, 3, " ", "Ошибка конфигурации: 3 "},
        {ConfigError::serverPort, 42, 3, "42", "Ошибка конфигурации: 3 "},
        {ConfigError::attribute, 42, 4, line42, "Ошибка конфигурации: 4 строка №42"},
        {ConfigError::unknownSection, 42, 5, line42, "Ошибка конфигурации: 5 строка №42"},
        {ConfigError::unknownKey, 42, 6, line42, "Ошибка конфигурации: 6 строка №42"},
    };
    std::vector<Message> posted;
    std::vector<std::string> logged;
    for (const auto& c : cases) {
        reportConfigError(c.error, c.maybeLine);
        posted.push_back({18094, {3, c.number, c.journalText}});
        logged.push_back("ЦП 3: OPC UA Сервер: " + c.logText);
    }
    EXPECT_EQ(journal.messages, posted);
    EXPECT_EQ(logLines(), logged);
}

TEST_F(OperatorMessages, GarbleMissingAttributesAsTheyAlwaysDid) {
    reportMissingAttribute(2);
    EXPECT_THAT(journal.messages, ElementsAre(Message{18094, {3, 4, "строка №2"}})) << "UTF-8";
    EXPECT_THAT(logLines(), ElementsAre("╨ж╨Я 3: OPC UA ╨б╨╡╤А╨▓╨╡╤А: ╨Ю╤И╨╕╨▒╨║╨░ "
                                        "╨║╨╛╨╜╤Д╨╕╨│╤Г╤А╨░╤Ж╨╕╨╕: 4 ╤Б╤В╤А╨╛╨║╨░ тДЦ2"));
}

TEST_F(OperatorMessages, GoToTheLogOnlyWithoutAJournal) {
    EXPECT_EQ(installEventJournal(nullptr), &journal);
    EXPECT_EQ(installedEventJournal(), nullptr);
    postAndLog(MessageNumber::started, {}, "\x80");
    EXPECT_THAT(logLines(), ElementsAre("А"));
    EXPECT_TRUE(journal.messages.empty());
    EXPECT_EQ(installEventJournal(&journal), nullptr);
    EXPECT_EQ(installedEventJournal(), &journal);
    EXPECT_EQ(controllerPrefix(), "\x96\x8F 3");
}
