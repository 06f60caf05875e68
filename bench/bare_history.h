#pragma once

#include <cstddef>

#include <open62541/server.h>

namespace bench {

/// The yardstick of history: pens with the node ids and texts of a plotter that is published whole,
/// registered with the library's own gathering as it stands, over a backend that answers each raw
/// read out of one array. Once a process.
UA_StatusCode addBareHistory(UA_Server* server, UA_UInt16 ns, std::size_t pens, std::size_t values);

}  // namespace bench
