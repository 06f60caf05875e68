#pragma once

#include <cstdint>
#include <type_traits>

#include "lib/bd_vesk/layout.h"

// Messages to the database process, which is registered under kDatabaseName and answers each
// request with one reply.

inline constexpr const char* kDatabaseName = "VsBASE";
/// A process registered under this name processes the data itself, without being asked.
inline constexpr const char* kSimulatorName = "Simulator";

enum DB_COMMAND : std::uint32_t {
    DB_QUERY_TYPE = 0x1100,  // the type that comes after `type`, and its number of variables
    DB_PROCESS = 0x1300,     // process the data now; `type` is 0
};

#pragma pack(push, 1)

struct DB_REQUEST {
    std::uint32_t command;      //  0  DB_COMMAND
    std::uint32_t type;         //  4  DB_TYPE; 0: before the first one
    std::uint32_t reserved[3];  //  8  zero
};

struct DB_REPLY {
    std::uint32_t reserved1[4];  //  0
    std::uint32_t count;         // 16  variables of the type
    std::uint32_t reserved2[3];  // 20
    std::uint32_t type;          // 32  DB_TYPE; any other number after the last one
    std::uint32_t reserved3;     // 36
};

#pragma pack(pop)

VESK_SIZE(DB_REQUEST, 20);
VESK_FIELD(DB_REQUEST, type, 4);
VESK_SIZE(DB_REPLY, 40);
VESK_FIELD(DB_REPLY, count, 16);
VESK_FIELD(DB_REPLY, type, 32);
static_assert(std::is_trivially_copyable_v<DB_REQUEST> && std::is_trivially_copyable_v<DB_REPLY>);
