#pragma once

#include <open62541/plugin/log.h>

/// Lines of the library's log in a minute. A client that repeats a bad request is logged for each,
/// which would fill the disk of a supervisor that keeps the server's output.
inline constexpr int kLogLinesPerMinute = 60;

/// The library's standard-output log from a level on, of which no more than kLogLinesPerMinute
/// lines are printed in a minute; one more says that others were left out. Fatal errors are always
/// printed. All logs made here count together; server thread.
UA_Logger boundedLog(UA_LogLevel level) noexcept;
