#pragma once

#include <string>
#include <string_view>

namespace tools::opcuaweb {

/// Whether a page of this host sent the request: `origin` is "http://" or "https://" (a proxy's) with
/// exactly `host`, the request's header of that name.
[[nodiscard]] bool isSameOrigin(std::string_view origin, std::string_view host);

/// Whether the header "Host" names this machine's loopback, with any port. Without this check a foreign
/// page could read ours by letting its own name point to this machine.
[[nodiscard]] bool isLoopbackHost(std::string_view host);

/// An address as --listen takes it.
struct ListenAddress {
    std::string host = "127.0.0.1";
    int port = 8080;
};

/// "127.0.0.1:8080", "[::1]:8080", "0.0.0.0:80": a numeric address and a port from 1 to 65535.
/// @return false for any other text; `address` is unchanged then
[[nodiscard]] bool readListenAddress(const std::string& text, ListenAddress& address);
[[nodiscard]] bool isLoopback(const ListenAddress& address);
/// "http://[::1]:8080/"; with this machine's name if all its addresses are meant.
[[nodiscard]] std::string pageUrl(const ListenAddress& address);

}  // namespace tools::opcuaweb
