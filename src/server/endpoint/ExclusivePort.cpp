#include "server/endpoint/ExclusivePort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

// ---- The port ----------------------------------------------------------------------------------

namespace {

void switchOn(int socket, int level, int option) {
    const int on = 1;
    // Cannot fail for these options; if it did, the port would look taken, not free.
    (void)setsockopt(socket, level, option, &on, sizeof(on));
}

bool bindAny(int socket, int family, std::uint16_t port) {
    if (family == AF_INET) {
        sockaddr_in any{};
        any.sin_family = AF_INET;
        any.sin_port = htons(port);
        return bind(socket, reinterpret_cast<const sockaddr*>(&any), sizeof(any)) == 0;
    }
    switchOn(socket, IPPROTO_IPV6, IPV6_V6ONLY);  // IPv4 has a socket of its own
    sockaddr_in6 any{};
    any.sin6_family = AF_INET6;
    any.sin6_port = htons(port);
    return bind(socket, reinterpret_cast<const sockaddr*>(&any), sizeof(any)) == 0;
}

/// Only binds, which fails if another program listens on the port. The socket does not listen,
/// because clients that connected to it would be cut off when it is closed.
/// @param taken  set when another program listens there; untouched otherwise, even after other
///               failures, which the library will meet and report itself
/// @return -1 after a failure
int bindTo(int family, std::uint16_t port, bool& taken) {
    const int socket = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (socket == -1) return -1;
    switchOn(socket, SOL_SOCKET, SO_REUSEADDR);
    if (bindAny(socket, family, port)) return socket;
    if (errno == EADDRINUSE) taken = true;
    (void)close(socket);
    return -1;
}

}  // namespace

ExclusivePort::ExclusivePort(std::uint16_t port) {
    bool taken = false;
    sockets_ = {bindTo(AF_INET, port, taken), bindTo(AF_INET6, port, taken)};
    ours_ = !taken;
}

ExclusivePort::~ExclusivePort() {
    for (const int socket : sockets_) {
        if (socket != -1) (void)close(socket);
    }
}

void ExclusivePort::share() const {
    for (const int socket : sockets_) {
        if (socket != -1) switchOn(socket, SOL_SOCKET, SO_REUSEPORT);
    }
}

// ---- The library's way to listen ---------------------------------------------------------------

namespace {

using OpenConnection = decltype(UA_ConnectionManager::openConnection);

OpenConnection openUnchecked = nullptr;  // the library's; set once, before the loop runs

template <class T>
T parameter(const UA_KeyValueMap* parameters, const char* name, const UA_DataType& type,
            T otherwise) {
    const UA_QualifiedName key = UA_QUALIFIEDNAME(0, const_cast<char*>(name));
    const void* const value = UA_KeyValueMap_getScalar(parameters, key, &type);
    return value != nullptr ? *static_cast<const T*>(value) : otherwise;
}

UA_StatusCode openIfOurs(UA_ConnectionManager* manager, const UA_KeyValueMap* parameters,
                         void* application, void* context,
                         UA_ConnectionManager_connectionCallback callback) noexcept {
    const auto open = [&] {
        return openUnchecked(manager, parameters, application, context, callback);
    };
    if (!parameter<UA_Boolean>(parameters, "listen", UA_TYPES[UA_TYPES_BOOLEAN], false))
        return open();
    const ExclusivePort port(
        parameter<UA_UInt16>(parameters, "port", UA_TYPES[UA_TYPES_UINT16], 0));
    if (!port.isOurs()) return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
    port.share();
    return open();
}

}  // namespace

void listenExclusively(UA_ConnectionManager& manager) {
    if (manager.openConnection == openIfOurs) return;
    openUnchecked = manager.openConnection;
    manager.openConnection = openIfOurs;
}
