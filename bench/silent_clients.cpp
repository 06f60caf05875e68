#include "bench/silent_clients.h"

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "bench/read_requests.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kUnreadAnswers = 1000;  // of each silent client, 1000 values each: 25 MB
// The server disconnects such a client after a minute. One that has sent everything does not see
// it.
constexpr auto kReplacedAfter = std::chrono::seconds(61);

/// Requests much and reads nothing; reconnects when it was disconnected, or must have been.
class SilentClient {
  public:
    explicit SilentClient(std::uint16_t port) : port_(port) {}

    void goOn() {
        try {
            if (connection_ && Clock::now() >= replaceAt_) leave();
            if (!connection_) ask();
            connection_->flush();
        } catch (const UaError&) {
            connection_.reset();
        }
    }
    void leave() {
        if (connection_) connection_->abandon();
        connection_.reset();
    }

  private:
    void ask() {
        connection_ = std::make_unique<UaConnection>(port_);
        replaceAt_ = Clock::now() + kReplacedAfter;
        const PreparedRequest read = prepareTimeRead(*connection_, 1000);
        for (std::size_t i = 0; i < kUnreadAnswers; ++i)
            (void)connection_->post(read);
    }

    std::uint16_t port_;
    std::unique_ptr<UaConnection> connection_;
    Clock::time_point replaceAt_;
};

}  // namespace

void askWithoutReading(std::uint16_t port, std::size_t connections, const std::atomic_bool& over) {
    std::vector<SilentClient> silent;
    silent.reserve(connections);
    for (std::size_t i = 0; i < connections; ++i)
        silent.emplace_back(port);
    while (!over) {
        for (SilentClient& client : silent)
            client.goOn();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (SilentClient& client : silent)
        client.leave();
}

}  // namespace bench
