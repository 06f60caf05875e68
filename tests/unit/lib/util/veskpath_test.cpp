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

}  // namespace
