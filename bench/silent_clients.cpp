#include "silent_clients.h"

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "read_requests.h"
#include "ua_connection.h"

namespace bench {
namespace {

constexpr std::size_t kUnreadAnswers = 1000;  // of each silent client, 1000 values each: 25 MB

/// Asks for much and reads nothing.
std::unique_ptr<UaConnection> silentClient(std::uint16_t port) {
    auto connection = std::make_unique<UaConnection>(port);
    const PreparedRequest read = prepareTimeRead(*connection, 1000);
    for (std::size_t i = 0; i < kUnreadAnswers; ++i)
        (void)connection->post(read);
    return connection;
}

}  // namespace

void askWithoutReading(std::uint16_t port, std::size_t connections, const std::atomic_bool& over) {
    std::vector<std::unique_ptr<UaConnection>> silent(connections);
    while (!over) {
        for (auto& connection : silent) {
            try {
                if (!connection) connection = silentClient(port);
                connection->flush();
            } catch (const UaError&) {
                connection.reset();
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (auto& connection : silent)
        if (connection) connection->abandon();
}

}  // namespace bench
