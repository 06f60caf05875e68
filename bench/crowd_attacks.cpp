#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/crowd.h"
#include "bench/read_requests.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

using namespace std::chrono_literals;

// ---- Half-open connections ----------------------------------------------------------------------

constexpr std::size_t kHalfOpen = 8;
constexpr auto kHalfOpenPause = 100ms;

/// A greeting that announces the smallest buffers (OPC 10000-6, 7.1.2.3).
std::string greeting() {
    const std::string url = "opc.tcp://127.0.0.1";
    const std::array<std::uint32_t, 6> fields{0, 8192, 8192,
                                              0, 0,    static_cast<std::uint32_t>(url.size())};
    const auto size = static_cast<std::uint32_t>(8 + sizeof fields + url.size());
    std::string message = "HELF";
    message.append(reinterpret_cast<const char*>(&size), sizeof size);
    message.append(reinterpret_cast<const char*>(fields.data()), sizeof fields);
    return message + url;
}

/// Connects and sends the beginning of a greeting; the descriptor, or -1.
int connectAndSend(std::uint16_t port, std::string_view bytes) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return fd;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // The server decides what to do with it.
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        (void)::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return fd;
}

// ---- Malformed messages -------------------------------------------------------------------------

constexpr int kAnswerMs = 5;
constexpr std::size_t kMessagesPerSession = 50;

/// Changes some bytes, the same ones in every run.
class Mutator {
  public:
    void mutate(std::vector<std::byte>& message) {
        for (std::size_t n = below(4); n <= 4; ++n)
            change(message);
    }
    std::size_t below(std::size_t bound) { return random_() % bound; }

  private:
    void change(std::vector<std::byte>& message) {
        constexpr std::array<std::uint32_t, 6> kNumbers{0,          1,          0x7FFFFFFF,
                                                        0x80000000, 0xFFFFFFFF, 0xFFFF};
        const std::size_t at = below(message.size() - sizeof(std::uint32_t));
        if (below(3) == 0) {
            std::memcpy(message.data() + at, &kNumbers[below(kNumbers.size())],
                        sizeof(std::uint32_t));
        } else {
            message[at] = static_cast<std::byte>(below(256));
        }
    }

    std::mt19937 random_{1};
};

/// Sends changed requests over one connection until the server closes it or enough were sent.
void sendSome(const CrowdPlan& plan, Mutator& mutator) {
    UaConnection connection(plan.port);
    try {
        const PreparedRequest good = prepareRead(connection, plan.nodes.first(10));
        for (std::size_t i = 0; i < kMessagesPerSession && !plan.over; ++i) {
            PreparedRequest bad = good;
            mutator.mutate(bad.message);
            (void)connection.post(bad);
            ++plan.tally.malformed;
            RawResponse answer;
            (void)connection.nextResponse(answer, kAnswerMs);
        }
    } catch (const UaError&) {  // expected
    }
    connection.abandon();
}

}  // namespace

void leaveHalfOpen(const CrowdPlan& plan) {
    const std::string hello = greeting();
    std::deque<int> open;
    for (std::size_t n = 0; !plan.over; ++n) {
        const std::array<std::size_t, 4> lengths{0, 4, 20, hello.size()};
        open.push_back(
            connectAndSend(plan.port, std::string_view(hello).substr(0, lengths[n % 4])));
        ++plan.tally.halfOpen;
        if (open.size() > kHalfOpen) {
            (void)::close(open.front());
            open.pop_front();
        }
        std::this_thread::sleep_for(kHalfOpenPause);
    }
    for (const int fd : open)
        (void)::close(fd);
}

void reconnect(const CrowdPlan& plan) {
    for (std::size_t n = 0; !plan.over; ++n) {
        try {
            UaConnection connection(plan.port);
            (void)connection.post(prepareTimeRead(connection, 1));
            RawResponse answer;
            (void)connection.nextResponse(answer);
            ++plan.tally.reconnects;
            if (n % 2 == 0) connection.abandon();
        } catch (const UaError& error) {
            if (++plan.tally.refusedReconnects == 1)
                (void)std::fprintf(stderr, "first refused reconnect: %s\n", error.what());
        }
        std::this_thread::sleep_for(5ms);
    }
}

void sendMalformed(const CrowdPlan& plan) {
    Mutator mutator;
    while (!plan.over) {
        try {
            sendSome(plan, mutator);
        } catch (const UaError&) {
            std::this_thread::sleep_for(10ms);
        }
    }
}

}  // namespace bench
