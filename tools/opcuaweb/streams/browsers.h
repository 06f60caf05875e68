#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/opcuaweb/basics/clock.h"
#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

/// What waits to be sent to one open page: the newest value of each node that it watches, the newest of
/// each other event, and the journal's new messages. Any thread.
class Browser {
  public:
    explicit Browser(std::string id) : id_(std::move(id)) {}

    [[nodiscard]] const std::string& id() const { return id_; }

    /// Replaces an event of that name that was not sent yet. @param data  JSON
    void put(const std::string& event, std::string data);
    /// Likewise for a node's value, if the page watches the node.
    void putValue(const std::string& node, const std::string& cell);
    /// Adds to the messages that were not sent yet; the oldest ones beyond the limit are dropped.
    void putMessages(const std::vector<std::string>& messages);

    /// Replaces what the page watches; values of other nodes are not sent any more.
    void watch(std::unordered_set<std::string> nodes);
    [[nodiscard]] std::unordered_set<std::string> watched() const;

    /// Waits until there is something to send. @return text of an event stream; a comment if `time`
    /// passes without anything; empty after `close`
    [[nodiscard]] std::string take(std::chrono::milliseconds time);
    void close();

  private:
    [[nodiscard]] bool isDue(Clock::time_point now) const;
    [[nodiscard]] std::string taken(Clock::time_point now);

    const std::string id_;
    mutable std::mutex mutex_;  // guards all below
    std::condition_variable changed_;
    std::unordered_set<std::string> watched_;
    std::unordered_map<std::string, std::string> values_;      // cell by node
    std::vector<std::pair<std::string, std::string>> events_;  // in the order of their first put
    std::vector<std::string> messages_;
    Clock::time_point nextValues_;
    bool closed_ = false;
};

/// The open pages and the union of what they watch. Any thread.
class Browsers {
  public:
    /// @return null if there are `kMostBrowsers` already
    [[nodiscard]] std::shared_ptr<Browser> add();
    void remove(const Browser& browser);
    [[nodiscard]] std::shared_ptr<Browser> find(const std::string& id) const;
    [[nodiscard]] std::size_t count() const;
    /// Ends all event streams and refuses new ones.
    void close();

    void publish(const std::string& event, const Json& data);
    void publishMessages(const std::vector<Json>& messages);
    /// A value for all pages that watch the node; it is kept for those that begin to.
    void publishValue(const std::string& node, const Json& cell);

    /// Replaces what one page watches; it gets the known values at once.
    void watch(Browser& browser, const std::vector<std::string>& nodes);
    /// Everything that at least one page watches.
    [[nodiscard]] std::unordered_set<std::string> wanted() const;
    /// Changes whenever `wanted` does.
    [[nodiscard]] std::size_t wantedVersion() const;

  private:
    void release(const std::unordered_set<std::string>& nodes);

    struct Watched {
        std::size_t pages = 0;
        std::string cell;  // the newest; empty before the first
    };
    mutable std::mutex mutex_;  // guards all below; taken before a browser's own
    std::map<std::string, std::shared_ptr<Browser>> browsers_;
    std::unordered_map<std::string, Watched> nodes_;
    std::size_t version_ = 0;
    bool closed_ = false;
};

}  // namespace tools::opcuaweb
