#pragma once

#include <open62541/types.h>
#include <sys/time.h>

// Converts the controller's times and qualities to those of OPC UA. Pure functions, any thread.

/// Status for an OPC DA quality word. Only the bits 0xC0 count: 0xC0 Good, 0x40 and 0x80 Uncertain,
/// 0 Bad; sub-status and limit bits are dropped.
UA_StatusCode qualityConvertFromDA(unsigned quality);

/// OPC UA time (100 ns ticks since 1601-01-01 UTC) of a UTC time; {0, 0} gives 1970-01-01.
UA_DateTime timevalToUaDateTime(const timeval& time);
/// The same conversion under the name that the operative data use.
UA_DateTime timevalToUaDateTimeOperative(const timeval& time);
