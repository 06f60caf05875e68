#pragma once

#include <open62541/server.h>

/// Completes what the server says about itself (OPC 10000-5, 6.3): the locales of its texts, and
/// the properties of Server and ServerCapabilities that the library leaves out although they are
/// known. Limits are read from the library's configuration each time that a client asks, so that
/// they are those in force, whenever they were set.
/// @return the first status that is not Good; the other properties are there all the same
UA_StatusCode announceCapabilities(UA_Server* server);
