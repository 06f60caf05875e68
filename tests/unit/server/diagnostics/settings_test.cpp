#include <gtest/gtest.h>

#include <cstdlib>

#include "server/diagnostics/MsgHandler.h"
#include "server/diagnostics/VeskkntrReader.h"
#include "support/operator_view.h"

static const std::string kPath = "/zrt/other/veskkntr.ini";

TEST(VeskkntrReader, TakesTheFirstLineThatSeemsToHoldTheKey) {
    const struct {
        const char* why;
        std::string file;
        std::int32_t number;
        std::int32_t cycleTimeMs;
    } cases[] = {
        {"blanks around, DOS line ends", "[A]\r\nCycleTime=\t20\r\nNumber_kontr = 12\r\n", 12, 20},
        {"no number keeps the default, whatever follows",
         "Number_kontr=abc\nCycleTime=\nNumber_kontr=5\nCycleTime=60\n", 0, 100},
        {"a comment that quotes the key decides", "; Number_kontr = 3 or so\nNumber_kontr=5", 3,
         100},
        {"a line without '=' is passed over", "Number_kontr 3\nNumber_kontr=5\n", 5, 100},
        {"'=' before the key does not count", "a=Number_kontr\nNumber_kontr=5\n", 5, 100},
        {"a longer key is taken too", "OldCycleTimeMs=30\nCycleTime=60\n", 0, 30},
        {"more than 32 bits keep the default", "Number_kontr=4294967296\nCycleTime=9999999999", 0,
         100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        writeFile(kPath, c.file);
        VeskkntrReader reader;
        EXPECT_EQ(reader.getNumKontr(kPath), c.number);
        EXPECT_EQ(reader.getCycleTime(kPath), c.cycleTimeMs);
        EXPECT_EQ(reader.getNumKontr("/zrt/none.ini"), c.number) << "kept";
        EXPECT_EQ(reader.getCycleTime("/zrt/none.ini"), c.cycleTimeMs) << "kept";
        EXPECT_EQ(reader.getNumKontr(), c.number);
        EXPECT_EQ(reader.getCycleTime(), c.cycleTimeMs);
    }
}

TEST(MsgHandler, KnowsTheControllerOfTheFixedFile) {
    writeFile(kPath, "Number_kontr=007\nCycleTime=50\n");
    const MsgHandler handler(kPath);
    EXPECT_EQ(handler.getNumKontrMsg(), 7);
    EXPECT_EQ(handler.getCycleTimeMsg(), 50);
    EXPECT_EQ(handler.getNumContrStroke(), "7");
    writeFile(kPath, "Number_kontr=-12\n");
    EXPECT_EQ(MsgHandler(kPath).getNumContrStroke(), "-12");

    // support/controller_3.cpp wrote the fixed file; the folder that the environment names is not
    // asked.
    setenv("SETTINGS", "/zrt/other", 1);
    EXPECT_EQ(getMsgHandler().getNumKontrMsg(), 3);
    EXPECT_EQ(getMsgHandler().getCycleTimeMsg(), 200);
    writeFile("/zrt/settings/veskkntr.ini", "Number_kontr=4\n");
    EXPECT_EQ(getMsgHandler().getNumContrStroke(), "3") << "read once";
}
