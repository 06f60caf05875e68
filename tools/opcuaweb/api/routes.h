#pragma once

#include "tools/opcuaweb/http/web_server.h"
#include "tools/opcuaweb/services/services.h"

namespace tools::opcuaweb {

/// Adds every path below /api/. @param services  outlives the server
void addRoutes(WebServer& server, Services& services);

}  // namespace tools::opcuaweb
