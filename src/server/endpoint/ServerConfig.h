#pragma once

#include <open62541/server.h>

/// Sets the library's minimal configuration, without message security, and the server's identity.
/// The library adds its endpoint and security policy to the existing ones. Those of an earlier call
/// are therefore removed first; otherwise clients would be offered the same endpoint several times.
void setMinimalConfig(UA_ServerConfig& config, UA_UInt16 port);

/// Limits the library's log on standard output to `level` and above. The logger is changed in
/// place, because the event loop and others hold pointers to it; the library still frees it.
void setLogLevel(UA_ServerConfig& config, UA_LogLevel level);

/// Refuses every change of the address space by a client, whatever the library was built with. The
/// server's own calls use the library's local session, for which these callbacks are not called.
void denyNodeManagement(UA_ServerConfig& config);
