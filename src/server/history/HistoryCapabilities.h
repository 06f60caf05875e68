#pragma once

#include <open62541/server.h>

/// States in the server's capabilities (OPC 10000-11, 5.4.2) that history can be read, and how many
/// values an answer holds at most. Adds the nodes if the library has none.
/// @return the first status that is not Good
UA_StatusCode announceHistory(UA_Server* server, UA_UInt32 maxReturnDataValues);
