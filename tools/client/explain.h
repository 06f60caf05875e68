#pragma once

#include <open62541/types.h>

#include <string>

#include "tools/text/language.h"

namespace tools {

/// What a status means for the person who asked for one node, with its name behind it: "there is no
/// such node (BadNodeIdUnknown)". For statuses that speak for themselves only the name.
[[nodiscard]] std::string explained(UA_StatusCode status, Language language);

/// "Running", "Failed", ... of a ServerState (OPC 10000-5, 12.6); its number if there is no such.
[[nodiscard]] std::string serverStateName(int state);

/// What a ServiceLevel says about a server (OPC 10000-4, 6.6.2.4.2).
enum class ServiceHealth { maintenance, noData, degraded, healthy };
[[nodiscard]] ServiceHealth healthOf(UA_Byte serviceLevel);
[[nodiscard]] std::string healthText(ServiceHealth health, Language language);

}  // namespace tools
