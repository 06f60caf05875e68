#pragma once

#include <cstddef>
#include <span>

#include "bench/ua_connection.h"

namespace bench {

/// A read of the values of these nodes, with their source times.
PreparedRequest prepareRead(UaConnection& connection, std::span<const UA_NodeId> nodes);

/// A read of the server's time, `times` times in one request.
PreparedRequest prepareTimeRead(UaConnection& connection, std::size_t times);

}  // namespace bench
