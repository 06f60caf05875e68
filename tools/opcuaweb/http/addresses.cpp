#include "tools/opcuaweb/http/addresses.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <climits>

#include "tools/text/text.h"

namespace tools::opcuaweb {

bool isSameOrigin(std::string_view origin, std::string_view host) {
    if (host.empty()) return false;
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (origin.starts_with(scheme) && origin.substr(scheme.size()) == host) return true;
    }
    return false;
}

namespace {

bool isAddress(int family, const std::string& host, void* address) {
    return inet_pton(family, host.c_str(), address) == 1;
}

bool isPort(std::string_view text, int& port) {
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc{} && rest == text.data() + text.size() && port >= 1 && port <= 65535;
}

/// Host and port of "host:port" or "[host]:port"; the port is empty without one.
struct Split {
    std::string host;
    std::string_view port;
    bool bracketed = false;
};

Split splitHost(std::string_view text) {
    Split split;
    const std::size_t bracket = text.find(']');
    split.bracketed = text.starts_with('[') && bracket != std::string_view::npos;
    const std::size_t colon = text.find(':', split.bracketed ? bracket : 0);
    split.host = split.bracketed ? text.substr(1, bracket - 1) : text.substr(0, colon);
    if (colon != std::string_view::npos) split.port = text.substr(colon + 1);
    return split;
}

}  // namespace

bool isLoopback(const ListenAddress& address) {
    in_addr four{};
    in6_addr six{};
    if (isAddress(AF_INET, address.host, &four)) return (ntohl(four.s_addr) >> 24U) == 127;
    return isAddress(AF_INET6, address.host, &six) && IN6_IS_ADDR_LOOPBACK(&six);
}

bool isLoopbackHost(std::string_view host) {
    const Split split = splitHost(host);
    return lowered(split.host) == "localhost" || isLoopback({split.host, 0});
}

bool readListenAddress(const std::string& text, ListenAddress& address) {
    const Split split = splitHost(text);
    in6_addr bytes{};
    const int family = split.bracketed ? AF_INET6 : AF_INET;
    int port = 0;
    if (!isAddress(family, split.host, &bytes) || !isPort(split.port, port)) return false;
    address = {split.host, port};
    return true;
}

namespace {

/// As a URL names it.
std::string urlHost(const std::string& host) {
    if (host == "0.0.0.0" || host == "::") {
        std::array<char, HOST_NAME_MAX + 1> name{};
        if (gethostname(name.data(), name.size() - 1) == 0) return name.data();
    }
    return host.find(':') != std::string::npos ? "[" + host + "]" : host;
}

}  // namespace

std::string pageUrl(const ListenAddress& address) {
    return "http://" + urlHost(address.host) + ":" + std::to_string(address.port) + "/";
}

}  // namespace tools::opcuaweb
