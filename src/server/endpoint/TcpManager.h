#pragma once

#include <open62541/plugin/eventloop.h>
#include <open62541/server.h>

/// The event source through which the library listens and talks TCP. Owned by the configuration's
/// event loop.
/// @return null when the event loop has none
UA_ConnectionManager* tcpManager(const UA_ServerConfig& config);
