#pragma once

#include <open62541/types.h>
#include <sys/time.h>

#include <string>

// Two conversions that belong to the interface of the history backend. The server itself uses the
// one in ArchiveTime.h.

/// KEPT: its argument is in microseconds, so it is not the inverse of timevalToUaDateTime. Required
/// by the interface.
timeval convertUADateTimeToTimeval(const UA_DateTime& microseconds);

/// "2026-07-01 08:30:00.250": local time and milliseconds. Empty for a time without a calendar day.
std::string format_opc_time(const timeval& time);
