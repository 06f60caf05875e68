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

/// The OPC UA server. Constructed before main runs; if that fails, the process ends with an
/// uncaught std::runtime_error.
extern UAServer uaserver;

/// getCountHistoryTrends() before any configuration is loaded: 100. History reads call
/// getCountHistoryTrends() and do not use this constant.
extern const std::int32_t PointCountForTrends;

/// The version that the start message reports.
extern const std::string ServerVersion;
