#include "lib/util/veskpath.h"

#include <cstdio>
#include <cstdlib>

namespace {

struct PathRow {
    const char* CSRV_PATH::*field;
    const char* variable;
    const char* fallback;
    const char* format;  // of Print; the uneven padding is required by the interface
};

// clang-format off
constexpr PathRow kPathRows[] = {
    {&CSRV_PATH::VESKPATH,     "VESKPATH",     "/zrt",               "VESKPATH = <%s>\n"},
    {&CSRV_PATH::PATHDB,       "PATHDB",       "/zrt/sram",          "PATHDB   = <%s>\n"},
    {&CSRV_PATH::PRG,          "PRG",          "/zrt/prg",           "PRG      = <%s>\n"},
    {&CSRV_PATH::SYSTEM,       "SYSTEM",       "/zrt/system",        "SYSTEM   = <%s>\n"},
    {&CSRV_PATH::LIB,          "LIB",          "/zrt/lib",           "LIB      = <%s>\n"},
    {&CSRV_PATH::DIC,          "DIC",          "/zrt/dic",           "DIC      = <%s>\n"},
    {&CSRV_PATH::SETTINGS,     "SETTINGS",     "/zrt/settings",      "SETTINGS = <%s>\n"},
    {&CSRV_PATH::PRG_DEBUG,    "PRG_DEBUG",    "/var/tmp/prg_debug", "PRG_DEBUG= <%s>\n"},
    {&CSRV_PATH::XML_SETTINGS, "XML_SETTINGS", "/zrt/veskdb",        "XML_SETTINGS = <%s>\n"},
};
// clang-format on

}  // namespace

// The priority puts this object before those of all files that have none, because static objects of
// other files attach shared memory or compose file names. The order across files is otherwise open.
[[gnu::init_priority(101)]] CSRV_PATH SRV_Path;

CSRV_PATH::CSRV_PATH() {
    InitPathes();
}

void CSRV_PATH::InitPathes() {
    for (const PathRow& row : kPathRows) {
        const char* value = std::getenv(row.variable);
        this->*row.field = value != nullptr ? value : row.fallback;
    }
}

void CSRV_PATH::Print() const {
    std::puts("VESK_PATHES:");
    for (const PathRow& row : kPathRows) {
        std::printf(row.format,
                    this->*row.field);  // NOLINT(clang-diagnostic-format-nonliteral): table
    }
}
