#include <gtest/gtest.h>
#include <unistd.h>

#include "server/attributes/AccessTypeAtr.h"
#include "support/capture.h"

// What fits the table's right is seen by every client; here is what does not.
TEST(CheckAccessRights, AnswersTheTablesOwnRightForATextThatDoesNotFit) {
    const AccessTable table = {{1, "R"}, {2, "RW"}, {3, "W"}, {4, "X"}};
    const struct {
        const char* why;
        const char* text;
        int attribute;
        const char* answer;
        const char* printed;
    } cases[] = {
        {"default may be padded", " \tdefault\r\n\v\f", 3, "OPC_READABLE", ""},
        {"default needs no table", "default", 99, "OPC_READABLE", ""},
        {"no such attribute", "OPC_READABLE", 99, "Error", ""},
        {"unknown right in the table", "OPC_READABLE", 4, "Error", ""},
        {"fits W", "OPC_WRITEABLE", 3, "OPC_WRITEABLE", ""},
        {"too much for R", "OPC_READABLE+OPC_WRITEABLE", 1, "OPC_READABLE", "COME IN R!\n"},
        {"not for W", "OPC_READABLE", 3, "OPC_WRITEABLE", "COME IN W!\n"},
        {"padded", " OPC_READABLE", 2, "OPC_READABLE+OPC_WRITEABLE", "COME IN RW! \n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Capture out(STDOUT_FILENO);
        const std::string answer = AccessTypeAtr::checkAccessRights(c.text, c.attribute, table);
        EXPECT_EQ(out.text(), c.printed);
        EXPECT_EQ(answer, c.answer);
    }
    EXPECT_EQ(AccessTypeAtr::trim("\v\f a b\t\r\n"), "a b");
    EXPECT_EQ(AccessTypeAtr::trim(" \n "), "");
    EXPECT_EQ(AccessTypeAtr::trim("\xff"), "\xff") << "a byte of CP866 is no white space";
}
