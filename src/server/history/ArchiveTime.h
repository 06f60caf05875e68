#pragma once

#include <open62541/types.h>
#include <sys/time.h>

/// UTC seconds and microseconds of an OPC UA time; parts below a millisecond are dropped. A time
/// after 2038-01-18 00:00:00 becomes that moment, taken as local time: the trend archive's stamps
/// have 32 bits. {0, 0} for the second before 1970, which the calendar takes for a failure.
timeval uaDateTimeToTimeval(UA_DateTime dateTime);
