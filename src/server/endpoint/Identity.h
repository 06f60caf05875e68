#pragma once

#include <open62541/server.h>

#include <string>
#include <string_view>

/// "urn:<host name>:vesk:opcuasrv": different for each controller, and the same after every
/// restart. Bytes that a URN may not contain (RFC 8141, 2.2) become %XX.
std::string applicationUriOn(std::string_view hostName);

/// Sets the server's identity in place of the library's own names: application URI and product in
/// the application description, product and build in BuildInfo. The application's name does not
/// change. Call it after each call that fills `config` with the library's values, and before the
/// namespaces are registered, because the application URI becomes the name of the first one.
void setIdentity(UA_ServerConfig& config);
