#include "server/diagnostics/OperatorMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/operator_view.h"

using testing::ElementsAre;

class OperatorMessages : public OperatorView {};

TEST_F(OperatorMessages, GoToTheLogOnlyWithoutAJournal) {
    EXPECT_EQ(installEventJournal(nullptr), &journal);
    EXPECT_EQ(installedEventJournal(), nullptr);
    postAndLog(MessageNumber::started, {}, "\x80");
    EXPECT_THAT(logLines(), ElementsAre("А"));
    EXPECT_TRUE(journal.messages.empty());
    EXPECT_EQ(installEventJournal(&journal), nullptr);
    EXPECT_EQ(installedEventJournal(), &journal);
    reportStarted("1.0-0");
    EXPECT_EQ(logLines().back(), "ЦП 3: OPC UA Сервер: Запуск: Версия: 1.0-0");
}
