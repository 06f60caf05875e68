#include "tools/opcuaweb/http/connection.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

// ---- One connection ----------------------------------------------------------------------------

Connection::Connection(socket_t socket, ConnectionTimes times)
    : socket_(socket), stall_(times.stall), requestEnd_(Clock::now() + times.request) {}

bool Connection::wait(short events, Clock::time_point end) const {
    pollfd waiting{socket_, events, 0};
    for (;;) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const int ready =
            poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(rest.count(), 0)));
        if (ready > 0) return (waiting.revents & (events | POLLHUP)) != 0;
        if (ready == 0 || errno != EINTR) return false;
    }
}

bool Connection::is_readable() const {
    return next_ < filled_ || wait(POLLIN, Clock::now());
}

bool Connection::is_writable() const {
    return wait(POLLOUT, Clock::now() + stall_);
}

/// Follows the header to its end, through what was just received.
bool Connection::isTooLong() {
    constexpr std::string_view kHeaderEnd = "\r\n\r\n";
    if (lineEnds_ == kHeaderEnd) return received_ > kMostHeader + kMostBody;
    lineEnds_.append(buffer_.data(), filled_);
    const bool isWhole = lineEnds_.find(kHeaderEnd) != std::string::npos;
    lineEnds_ =
        isWhole ? kHeaderEnd
                : lineEnds_.substr(lineEnds_.size() - std::min<std::size_t>(lineEnds_.size(), 3));
    return !isWhole && received_ > kMostHeader;
}

ssize_t Connection::read(char* bytes, std::size_t size) {
    if (next_ == filled_) {
        if (!wait(POLLIN, requestEnd_)) return -1;
        const ssize_t count = recv(socket_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
        if (count <= 0) return count;
        next_ = 0;
        filled_ = static_cast<std::size_t>(count);
        received_ += filled_;
        if (isTooLong()) return -1;
    }
    const std::size_t count = std::min(size, filled_ - next_);
    std::memcpy(bytes, buffer_.data() + next_, count);
    next_ += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* bytes, std::size_t size) {
    if (!is_writable()) return -1;
    return send(socket_, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
}

namespace {

using NameCall = int (*)(int, sockaddr*, socklen_t*);

void describeEnd(socket_t socket, NameCall call, std::string& ip, int& port) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    if (call(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return;
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.ss_family == AF_INET) {
        const auto& four = reinterpret_cast<const sockaddr_in&>(address);
        inet_ntop(AF_INET, &four.sin_addr, text.data(), text.size());
        port = ntohs(four.sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto& six = reinterpret_cast<const sockaddr_in6&>(address);
        const bool isFour = IN6_IS_ADDR_V4MAPPED(&six.sin6_addr);
        const std::uint8_t* const bytes = six.sin6_addr.s6_addr;
        inet_ntop(isFour ? AF_INET : AF_INET6, isFour ? bytes + 12 : bytes, text.data(),
                  text.size());
        port = ntohs(six.sin6_port);
    }
    ip = text.data();
}

}  // namespace

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
    describeEnd(socket_, getpeername, ip, port);
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
    describeEnd(socket_, getsockname, ip, port);
}

// ---- Threads -----------------------------------------------------------------------------------

ConnectionThreads::Taken ConnectionThreads::enqueue(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (tasks_.size() <= idle_ || threads_ >= kMostConnections) {
        changed_.notify_one();
    } else {
        ++threads_;
        std::thread([this] { work(); }).detach();  // `shutdown` waits for it
    }
    return Taken(true);
}

void ConnectionThreads::work() {
    std::unique_lock lock(mutex_);
    while (true) {
        ++idle_;
        const bool hasTask =
            changed_.wait_for(lock, kThreadIdle, [this] { return stopping_ || !tasks_.empty(); });
        --idle_;
        if (!hasTask || tasks_.empty()) break;
        const auto task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
    --threads_;
    ended_.notify_all();
}

void ConnectionThreads::shutdown() {
    std::unique_lock lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
    ended_.wait(lock, [this] { return threads_ == 0; });
}

// ---- The server --------------------------------------------------------------------------------

namespace {

/// Connections reach us only when their first bytes do.
void setSocketOptions(socket_t socket) {
    const int yes = 1;
    const int seconds =
        std::chrono::duration_cast<std::chrono::duration<int>>(kRequestTime).count();
    const int sendBuffer = kSendBuffer;
    const auto set = [socket](int level, int name, const int& value) {
        static_cast<void>(setsockopt(socket, level, name, &value, sizeof(value)));
    };
    set(SOL_SOCKET, SO_REUSEADDR, yes);
    set(SOL_SOCKET, SO_SNDBUF, sendBuffer);
    set(IPPROTO_TCP, TCP_DEFER_ACCEPT, seconds);
}

}  // namespace

BoundedServer::BoundedServer() {
    new_task_queue = [] { return new ConnectionThreads; };
    set_socket_options(setSocketOptions);
    set_payload_max_length(kMostBody);
    set_tcp_nodelay(true);
}

bool BoundedServer::bind(const std::string& host, int port) {
    // The library lets five connections wait, so that a few silent ones would keep all others out.
    return bind_to_port(host, port) && ::listen(svr_sock_, kWaitingConnections) == 0;
}

namespace {

/// Takes out of a request what would cost more than it is worth: parts of an answer can be asked for
/// thousands of times in one request, a compressed body is unpacked to any size, and the library's
/// strongest compression takes seconds for a page.
void simplify(httplib::Request& request) {
    request.ranges.clear();
    request.headers.erase("Content-Encoding");
    const bool takesGzip =
        request.get_header_value("Accept-Encoding").find("gzip") != std::string::npos;
    request.headers.erase("Accept-Encoding");
    if (takesGzip) request.set_header("Accept-Encoding", "gzip");
}

/// The library's protected operation takes the addresses as arguments in its newer releases.
template <class Server, class Process>
bool processed(Server& server, Process process, Connection& connection) {
    bool closed = false;
    if constexpr (std::is_invocable_v<Process, Server&, httplib::Stream&, bool, bool&,
                                      const std::function<void(httplib::Request&)>&>) {
        return (server.*process)(connection, true, closed, simplify);
    } else {
        std::string remote;
        std::string local;
        int remotePort = 0;
        int localPort = 0;
        connection.get_remote_ip_and_port(remote, remotePort);
        connection.get_local_ip_and_port(local, localPort);
        return (server.*process)(connection, remote, remotePort, local, localPort, true, closed,
                                 simplify);
    }
}

}  // namespace

bool BoundedServer::process_and_close_socket(socket_t socket) {
    Connection connection(socket);
    const bool done = processed(*this, &BoundedServer::process_request, connection);
    shutdown(socket, SHUT_RDWR);
    close(socket);
    return done;
}

}  // namespace tools::opcuaweb
