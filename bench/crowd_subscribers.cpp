#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "bench/crowd.h"
#include "bench/subscription.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

constexpr double kIntervalMs = 1000;
constexpr std::size_t kItemsPerRequest = 1000;
constexpr auto kPause = std::chrono::milliseconds(5);

/// A session with its share of the subscriptions and items.
class Subscriber {
  public:
    Subscriber(const CrowdPlan& plan, std::size_t number) : connection_(plan.port) {
        const CrowdLoad& load = plan.load;
        for (std::size_t i = 0; i < load.subscriptions / load.sessions; ++i) {
            subscriptions_.push_back(std::make_unique<Subscription>(connection_, kIntervalMs));
            const std::size_t share = load.items / load.subscriptions;
            addItems(plan, share, (number * load.subscriptions / load.sessions + i) * share);
        }
        subscriptions_.front()->startPublishing();
    }
    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;
    ~Subscriber() { connection_.abandon(); }

    /// Takes what has arrived. @return the number of values in it
    std::size_t receive() {
        std::size_t values = 0;
        while (const std::size_t more = subscriptions_.front()->receive(0))
            values += more;
        return values;
    }

  private:
    /// Items for the nodes from `first` on; after the last node comes the first again.
    void addItems(const CrowdPlan& plan, std::size_t items, std::size_t first) {
        while (items != 0) {
            const std::size_t at = first % plan.nodes.size();
            const std::size_t count = std::min({items, kItemsPerRequest, plan.nodes.size() - at});
            subscriptions_.back()->add(plan.nodes.subspan(at, count));
            first += count;
            items -= count;
        }
    }

    UaConnection connection_;
    std::vector<std::unique_ptr<Subscription>> subscriptions_;
};

}  // namespace

void runSubscribers(const CrowdPlan& plan) {
    std::vector<std::unique_ptr<Subscriber>> subscribers(plan.load.sessions);
    std::size_t values = 0;
    while (!plan.over) {
        for (std::size_t i = 0; i < subscribers.size() && !plan.over; ++i) {
            try {
                if (!subscribers[i]) {
                    subscribers[i] = std::make_unique<Subscriber>(plan, i);
                    ++plan.tally.subscribers;
                }
                values += subscribers[i]->receive();
            } catch (const UaError&) {
                if (subscribers[i]) ++plan.tally.lostSubscribers;
                subscribers[i].reset();
            }
        }
        plan.tally.values = values;
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace bench
