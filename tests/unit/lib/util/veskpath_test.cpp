#include "lib/util/veskpath.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/child_process.h"

namespace {

// Static objects of other files use the table; this one is made before any file of the library.
const bool tableWasComplete = SRV_Path.VESKPATH != nullptr && SRV_Path.XML_SETTINGS != nullptr;

TEST(CsrvPath, PrintsDefaultsForUnsetVariablesAndTakesSetOnesAsTheyAre) {
    EXPECT_TRUE(tableWasComplete);
    ChildProcess child([] {
        clearenv();
        SRV_Path.InitPathes();
        SRV_Path.Print();
        setenv("VESKPATH", "", 1);
        setenv("PATHDB", "/a", 1);
        setenv("PRG", "/b", 1);
        setenv("SYSTEM", "/opt/x", 1);
        setenv("LIB", "/c", 1);
        setenv("DIC", "/d", 1);
        setenv("SETTINGS", "/etc/c", 1);
        setenv("PRG_DEBUG", "/e", 1);
        setenv("XML_SETTINGS", "/f", 1);
        CSRV_PATH().Print();
        // The process's own table keeps what it read.
        return SRV_Path.SETTINGS == std::string("/zrt/settings") ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.out(),
              "VESK_PATHES:\n"
              "VESKPATH = </zrt>\n"
              "PATHDB   = </zrt/sram>\n"
              "PRG      = </zrt/prg>\n"
              "SYSTEM   = </zrt/system>\n"
              "LIB      = </zrt/lib>\n"
              "DIC      = </zrt/dic>\n"
              "SETTINGS = </zrt/settings>\n"
              "PRG_DEBUG= </var/tmp/prg_debug>\n"
              "XML_SETTINGS = </zrt/veskdb>\n"
              "VESK_PATHES:\n"
              "VESKPATH = <>\n"
              "PATHDB   = </a>\n"
              "PRG      = </b>\n"
              "SYSTEM   = </opt/x>\n"
              "LIB      = </c>\n"
              "DIC      = </d>\n"
              "SETTINGS = </etc/c>\n"
              "PRG_DEBUG= </e>\n"
              "XML_SETTINGS = </f>\n");
}

}  // namespace
