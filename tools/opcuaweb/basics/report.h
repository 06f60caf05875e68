#pragma once

#include <open62541/types.h>

#include <string>

namespace tools::opcuaweb {

/// Prints a line with the time before it on standard output, whole even if several threads do so. For
/// what an administrator wants to find again: losses of the connection, writes.
/// @param time  of what is reported, 100 ns ticks since 1601
void report(UA_DateTime time, const std::string& line);

}  // namespace tools::opcuaweb
