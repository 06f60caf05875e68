#include <utility>

#include "tools/client/item_list.h"
#include "tools/opcuaweb/api/requests.h"
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
    const auto answer = services.asker.ask<std::optional<Json>>(
        [node](Session& session) { return childrenOf(session, node); }, kAnswerTime);
    if (!answer || !*answer) return kNoConnection;
    return **answer;
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

/// One step of the walk. The promise is kept by the last one.
Asker::Step stepRows(TreeWalk& walk, std::promise<Reply>& promise, Session* session) {
    if (session == nullptr || !walk.step(*session)) {
        promise.set_value(kNoConnection);
        return Asker::Step::done;
    }
    if (!walk.isDone()) return Asker::Step::again;
    promise.set_value(rowsText(walk));
    return Asker::Step::done;
}

}  // namespace

Reply rows(Services& services, const httplib::Request& request) {
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return kBadNode;
    const auto promise = std::make_shared<std::promise<Reply>>();
    auto answer = promise->get_future();
    const auto walk = std::make_shared<TreeWalk>(node, kMostRows);
    const bool taken = services.asker.add(
        [promise, walk](Session* session) { return stepRows(*walk, *promise, session); });
    const bool isAnswered = taken && answer.wait_for(kWalkTime) == std::future_status::ready;
    if (!isAnswered) return kBusy;
    return answer.get();
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
