#pragma once

#include <open62541/server.h>

/// The library's minimal configuration, without message security, and who we are. It adds its
/// endpoint and security policy to those that are there, so that a client would be offered the same
/// one again for each call: the former ones are dropped first.
void setMinimalConfig(UA_ServerConfig& config, UA_UInt16 port);

/// Cuts the library's standard-output log. In place, because the event loop and others hold
/// pointers to the logger that the configuration was made with; it stays allocated as the library
/// made it.
void setLogLevel(UA_ServerConfig& config, UA_LogLevel level);

/// Refuses clients' changes of the address space, which is the controller's, whatever the library
/// was built with. Our own calls use the library's local session, which is not asked.
void denyNodeManagement(UA_ServerConfig& config);
