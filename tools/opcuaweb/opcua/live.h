#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/client/session.h"
#include "tools/opcuaweb/streams/browsers.h"

namespace tools::opcuaweb {

/// The session whose single subscription serves all pages: it grows and shrinks with what they watch, and
/// is made again after every reconnect. Its state is the event "link".
class Live {
  public:
    /// @param browsers  outlives this object
    /// @param language  of what is printed: each loss of the connection and each new one
    Live(std::string url, Browsers& browsers, Language language);
    ~Live();
    Live(const Live&) = delete;
    Live& operator=(const Live&) = delete;

    void start();
    void stop();

    /// What the event "link" shows.
    [[nodiscard]] Json link() const;
    [[nodiscard]] std::size_t watched() const { return watched_; }

  private:
    /// One monitored item; the library keeps its address.
    struct Item {
        Live* live;
        std::string node;
        UA_UInt32 id;  // 0: refused by the server
    };

    void run();
    bool connect();
    [[nodiscard]] UA_StatusCode subscribe();
    void serve();
    bool follow();
    bool addItems(const std::vector<std::string>& nodes);
    bool addChunk(Item* const* items, std::size_t count, bool withTimes);
    bool addDivided(Item* const* items, std::size_t count, bool withTimes, UA_StatusCode status);
    bool removeChunk(UA_UInt32* ids, std::size_t count);
    bool removeItems(const std::vector<std::string>& nodes);
    void setLink(bool connected, UA_StatusCode status);
    void printLink(bool connected, UA_StatusCode status);
    [[nodiscard]] std::string problem(UA_StatusCode status, Language language) const;
    void pause(std::chrono::milliseconds time) const;

    static void onValue(UA_Client* client, UA_UInt32 subscription, void* subscriptionContext,
                        UA_UInt32 item, void* context, UA_DataValue* value) noexcept;
    static void onSilence(UA_Client* client, UA_UInt32 subscription, void* context) noexcept;
    static void onEnd(UA_Client* client, UA_UInt32 subscription, void* context) noexcept;

    Browsers& browsers_;
    const Language language_;
    std::optional<bool> reported_;  // whether the connection that was printed last was there
    UA_UInt32 subscription_ = 0;    // it and all up to the next comment: this object's thread only
    std::unordered_map<std::string, std::unique_ptr<Item>> items_;  // by node
    std::size_t followedVersion_ = 0;
    bool subscriptionLost_ = false;
    bool silent_ = false;  // lost because the server says nothing any more

    mutable std::mutex mutex_;  // guards the one below
    Json link_;
    std::atomic<std::size_t> watched_ = 0;
    std::atomic<bool> stopping_ = false;
    Session session_;  // thread's only; ends before the items whose addresses it knows
    std::thread thread_;
};

}  // namespace tools::opcuaweb
