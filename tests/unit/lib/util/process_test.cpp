#include <sched.h>

#include "lib/util/priorities.h"
#include "lib/util/qnx_calls.h"
#include "lib/util/veskpath.h"
#include "tests/support/child_process.h"

TEST(Priorities, AreSetForThisProcess) {
    ChildProcess child([] {
        EXPECT_EQ(SetNice({SCHED_OTHER, 5}) + SetNice({SCHED_FIFO, 7}), 0) << "nothing to do";
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), 5);
        EXPECT_EQ(SetProcessPriority({SCHED_OTHER, 9}), 0);
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), 9);
        EXPECT_EQ(SetProcessPriority({SCHED_BATCH, 0}), -1);
        for (const int policy : {SCHED_FIFO, SCHED_RR}) {
            const bool isSet = SetProcessPriority({policy, 3}) == 0;  // not allowed to every user
            sched_param parameters{};
            sched_getparam(0, &parameters);
            EXPECT_EQ(sched_getscheduler(0), isSet ? policy : SCHED_OTHER);
            EXPECT_EQ(parameters.sched_priority, isSet ? 3 : 0);
            EXPECT_EQ(SetProcessPriority({policy, 1000}), -1);
        }
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
}

// Static objects of other files use the table; this one is made before any file of the library.
const bool tableWasComplete = SRV_Path.VESKPATH != nullptr && SRV_Path.XML_SETTINGS != nullptr;

TEST(CsrvPath, PrintsDefaultsForUnsetVariablesAndTakesSetOnesAsTheyAre) {
    EXPECT_TRUE(tableWasComplete);
    const struct {
        const char *label, *variable, *standard, *set;
    } rows[] = {
        {"VESKPATH = <", "VESKPATH", "/zrt", ""},
        {"PATHDB   = <", "PATHDB", "/zrt/sram", "/a"},
        {"PRG      = <", "PRG", "/zrt/prg", "/b"},
        {"SYSTEM   = <", "SYSTEM", "/zrt/system", "/opt/x"},
        {"LIB      = <", "LIB", "/zrt/lib", "/c"},
        {"DIC      = <", "DIC", "/zrt/dic", "/d"},
        {"SETTINGS = <", "SETTINGS", "/zrt/settings", "/etc/c"},
        {"PRG_DEBUG= <", "PRG_DEBUG", "/var/tmp/prg_debug", "/e"},
        {"XML_SETTINGS = <", "XML_SETTINGS", "/zrt/veskdb", "/f"},
    };
    ChildProcess child([&] {
        clearenv();
        SRV_Path.InitPathes();
        SRV_Path.Print();
        for (const auto& row : rows)
            setenv(row.variable, row.set, 1);
        CSRV_PATH().Print();
        // The process's own table keeps what it read.
        return SRV_Path.SETTINGS == std::string("/zrt/settings") ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
    std::string unset = "VESK_PATHES:\n";
    std::string set = unset;
    for (const auto& row : rows) {
        unset += std::string(row.label) + row.standard + ">\n";
        set += std::string(row.label) + row.set + ">\n";
    }
    EXPECT_EQ(child.out(), unset + set);
}

// Looking up names and sending messages is covered where the database is queried for its tables.
TEST(QnxCalls, NumbersAreDecimalWhateverTheRadix) {
    char buf[12];
    EXPECT_STREQ(itoa(INT_MIN, buf, 16), "-2147483648");
    EXPECT_EQ(utoa(UINT_MAX, buf, 2), buf);
    EXPECT_STREQ(buf, "4294967295");
}
