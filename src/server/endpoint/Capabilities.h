#pragma once

#include <open62541/server.h>

/// Completes the server's description of itself (OPC 10000-5, 6.3): the locales of its texts, and
/// those properties of Server and ServerCapabilities that the library leaves out although they are
/// known. Limits are read from the library's configuration whenever a client reads them, so they
/// are always the limits in force.
/// @return the first status that is not Good; the other properties are added nevertheless
UA_StatusCode announceCapabilities(UA_Server* server);
