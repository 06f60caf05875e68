#pragma once

#include <open62541/types.h>
#include <sys/time.h>

/// UTC seconds and microseconds of an OPC UA time; parts below a millisecond are dropped. A time
/// after 2038-01-18 00:00:00 is replaced by that moment, taken as local time, because the trend
/// archive's stamps have 32 bits. {0, 0} for the last second before 1970, which looks like a
/// failure of the calendar's conversion.
timeval uaDateTimeToTimeval(UA_DateTime dateTime);
