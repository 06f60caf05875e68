#pragma once

#include <httplib.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/opcuaweb/basics/clock.h"
#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

/// How long a browser may take.
struct ConnectionTimes {
    std::chrono::milliseconds request = kRequestTime;  ///< for the whole request
    std::chrono::milliseconds stall = kWriteStall;     ///< without reading anything of the answer
};

/// A browser's connection for cpp-httplib, which itself limits neither the number of header lines nor the
/// time that a request may take. Takes one request; then the connection is closed.
class Connection final : public httplib::Stream {
  public:
    /// @param socket  open; not owned
    explicit Connection(socket_t socket, ConnectionTimes times = {});

    [[nodiscard]] bool is_readable() const override;
    [[nodiscard]] bool is_writable() const override;
    ssize_t read(char* bytes, std::size_t size) override;
    ssize_t write(const char* bytes, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    [[nodiscard]] socket_t socket() const override { return socket_; }

  private:
    [[nodiscard]] bool isTooLong();
    [[nodiscard]] bool wait(short events, Clock::time_point end) const;

    const socket_t socket_;
    const std::chrono::milliseconds stall_;
    const Clock::time_point requestEnd_;
    std::array<char, 4096> buffer_{};
    std::size_t next_ = 0;
    std::size_t filled_ = 0;
    std::size_t received_ = 0;
    std::string lineEnds_;  // the last bytes of the header; "\r\n\r\n" at its end
};

/// Threads for the connections: as many as there is work for, up to `kMostConnections`.
class ConnectionThreads final : public httplib::TaskQueue {
  public:
    /// Returns nothing in the older and whether the task was taken in the newer releases of the library.
    using Taken = decltype(std::declval<httplib::TaskQueue&>().enqueue({}));

    Taken enqueue(std::function<void()> task) override;
    void shutdown() override;

  private:
    void work();

    std::mutex mutex_;  // guards all below
    std::condition_variable changed_;
    std::condition_variable ended_;
    std::deque<std::function<void()>> tasks_;
    std::size_t idle_ = 0;
    std::size_t threads_ = 0;
    bool stopping_ = false;
};

/// cpp-httplib's server with the two above.
class BoundedServer final : public httplib::Server {
  public:
    BoundedServer();

    /// @param host  numeric address. @return false if it cannot be used
    [[nodiscard]] bool bind(const std::string& host, int port);

  private:
    bool process_and_close_socket(socket_t socket) override;
};

}  // namespace tools::opcuaweb
