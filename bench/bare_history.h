#pragma once

#include <cstddef>

#include <open62541/server.h>

namespace bench {

/// The baseline for history: pens with the node ids and texts of a plotter with all its pens,
/// registered with the library's own gathering, and a backend that answers each raw read from one
/// array. Once per process.
UA_StatusCode addBareHistory(UA_Server* server, UA_UInt16 ns, std::size_t pens, std::size_t values);

}  // namespace bench
