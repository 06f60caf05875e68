#pragma once

#include <open62541/server.h>

#include <string>
#include <string_view>

/// "urn:<host name>:vesk:opcuasrv": each controller's own, and the same after every restart. Bytes
/// that a URN may not hold (RFC 8141, 2.2) become %XX.
std::string applicationUriOn(std::string_view hostName);

/// Says who the server is, in place of the library's own names: application URI and product in the
/// application description, product and build in BuildInfo. The application's name is left alone.
/// After each call that fills `config` with the library's values, and before the namespaces are
/// registered: the first of them is named by the application URI.
void setIdentity(UA_ServerConfig& config);
