#pragma once

#include <cstdint>
#include <string>

#include "lib/rolling2/rol_man.h"
#include "server/UAServer.h"

// The process-wide objects of the server, defined together in ServerState.cpp in the order in which
// they are made. The variables, their contexts, the configuration and the history have theirs in
// their own folders.

/// The controller's event journal; joined by start-up.
extern CRolManager Rolling;

/// The OPC UA server. Made before main runs; without it the process ends with an uncaught runtime
/// error.
extern UAServer uaserver;

/// getCountHistoryTrends() before any configuration is loaded: 100. The reads ask for the number
/// themselves.
extern const std::int32_t PointCountForTrends;

/// As the start message reports it.
extern const std::string ServerVersion;
