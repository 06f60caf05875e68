#include <algorithm>
#include <future>
#include <memory>
#include <utility>

#include "tools/client/item_list.h"
#include "tools/opcuaweb/api/requests.h"
#include "tools/opcuaweb/basics/clock.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/http/parameters.h"
#include "tools/opcuaweb/tree/children.h"
#include "tools/opcuaweb/tree/tree_walk.h"

namespace tools::opcuaweb {

std::string nodeOf(const httplib::Request& request) {
    return request.has_param("node") ? request.get_param_value("node") : "i=85";
}

Reply children(Services& services, const httplib::Request& request) {
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return kBadNode;
    const auto ask = [node](Session& session) -> Reply {
        Json found;
        const UA_StatusCode status = childrenOf(session, node, found);
        if (status == UA_STATUSCODE_GOOD) return found;
        return isRefusal(status) ? kServerRefuses : kNoConnection;
    };
    return services.asker.ask<Reply>(ask, kAnswerTime).value_or(kNoConnection);
}

namespace {

/// Made row by row: as one JSON value, the rows of a large tree would take ten times their text.
JsonText rowsText(TreeWalk& walk) {
    std::string text = std::string(R"({"complete":)") + (walk.isComplete() ? "true" : "false");
    const char* separator = R"(,"rows":[)";
    const std::vector<Row> rows = walk.takeRows();
    for (const Row& row : rows) {
        text += std::exchange(separator, ",") + jsonLine(rowJson(row));
    }
    return {text + (rows.empty() ? R"(,"rows":[]})" : "]}")};
}

/// A walk whose end is waited for. It ends in time, so that an endless tree shows what was found.
struct AskedWalk {
    TreeWalk walk;
    std::promise<bool> worked = {};
    const Clock::time_point end = Clock::now() + kWalkTime;

    Asker::Step step(Session* session) {
        const bool works = session != nullptr && walk.step(*session);
        if (works && Clock::now() >= end) walk.stop();
        if (works && !walk.isDone()) return Asker::Step::again;
        worked.set_value(works);
        return Asker::Step::done;
    }
};

}  // namespace

Reply rows(Services& services, const httplib::Request& request) {
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return kBadNode;
    const std::unique_lock place(services.walks, std::try_to_lock);
    if (!place) return kBusy;
    const auto asked = std::make_shared<AskedWalk>(AskedWalk{TreeWalk(node, kMostRows)});
    auto worked = asked->worked.get_future();
    // It ends when nobody waits for it any more.
    const bool taken = services.asker.add([waiting = std::weak_ptr(asked)](Session* session) {
        const auto walk = waiting.lock();
        return walk ? walk->step(session) : Asker::Step::done;
    });
    if (!taken || worked.wait_for(kWalkTime + kAnswerTime) != std::future_status::ready)
        return kBusy;
    if (!worked.get()) return kNoConnection;
    return rowsText(asked->walk);
}

Reply search(Services& services, const httplib::Request& request) {
    const auto limit = numberOf(request, "limit", 100);
    if (!limit || *limit < 1) return kBadRequest;
    const auto most = std::min(static_cast<std::size_t>(*limit), kMostHits);
    return services.index.search(request.get_param_value("q"), most);
}

Reply attention(Services& services, const httplib::Request& request) {
    const auto limit = numberOf(request, "limit", 100);
    if (!limit || *limit < 1) return kBadRequest;
    auto rows =
        services.sweep.attention(request.get_param_value("kind"), static_cast<std::size_t>(*limit));
    if (!rows) return kBadRequest;
    return std::move(*rows);
}

Reply pens(Services& services, const httplib::Request& /*request*/) {
    return services.index.pens();
}

}  // namespace tools::opcuaweb
