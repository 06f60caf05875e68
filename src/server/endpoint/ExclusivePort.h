#pragma once

#include <open62541/plugin/eventloop.h>

#include <array>
#include <cstdint>

/// A TCP port that this process alone may listen on, on all addresses of IPv4 and of IPv6. A family
/// that the host does not have is left out.
///
/// The library listens with SO_REUSEPORT. With this option a port looks free even if another
/// process of the same user listens on it, and the library is content with one of the two families.
/// So the port is first taken without the option and held until the library listens.
class ExclusivePort {
  public:
    /// Takes the port, in the host's byte order, without listening. Old connections in TIME_WAIT
    /// do not matter.
    explicit ExclusivePort(std::uint16_t port);
    /// Releases the port.
    ~ExclusivePort();
    ExclusivePort(const ExclusivePort&) = delete;
    ExclusivePort& operator=(const ExclusivePort&) = delete;

    /// False if another program listens on it, on one address or on all, in one family or in both.
    [[nodiscard]] bool isOurs() const { return ours_; }

    /// From now on other sockets of this user may listen on the port too, if they use SO_REUSEPORT.
    void share() const;

  private:
    std::array<int, 2> sockets_{-1, -1};  // IPv4, IPv6; -1: the host has no such family
    bool ours_ = true;
};

/// Lets the library's own connection manager listen only on ports that no other program uses.
/// Otherwise the start of the server's loop fails. Pass the library's manager itself, not one put
/// in front of it: the library tries all of them in turn.
void listenExclusively(UA_ConnectionManager& manager);
