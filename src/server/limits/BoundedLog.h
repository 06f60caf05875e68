#pragma once

#include <open62541/plugin/log.h>

/// Lines of the library's log in a minute. The library logs each bad request, so a client that
/// repeats one would fill the disk of a supervisor that keeps the server's output.
inline constexpr int kLogLinesPerMinute = 60;

/// The library's log on standard output from a level on. At most kLogLinesPerMinute lines are
/// printed in a minute; one more line says that others were left out. Fatal errors are always
/// printed. All logs made here are counted together; server thread.
UA_Logger boundedLog(UA_LogLevel level) noexcept;
