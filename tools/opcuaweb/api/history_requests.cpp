#include "tools/client/item_list.h"
#include "tools/opcuaweb/api/requests.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/history/history_job.h"
#include "tools/opcuaweb/http/answers.h"
#include "tools/opcuaweb/http/parameters.h"

namespace tools::opcuaweb {

namespace {

/// @return what is wrong with the request; null if nothing is
const Problem* readQuestion(const httplib::Request& request, HistoryQuestion& question) {
    constexpr std::int64_t kLatest = std::int64_t{1} << 43;  // ms since 1970, in the year 2248
    constexpr std::int64_t kMostPixels = 10'000;
    const auto from = numberOf(request, "from", 0);
    const auto to = numberOf(request, "to", 0);
    const auto width = numberOf(request, "width", 1000);
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return &kBadNode;
    const bool isRange = from && to && width && *from >= 0 && *from <= *to && *to <= kLatest &&
                         *width >= 1 && *width <= kMostPixels;
    if (!isRange) return &kBadRequest;
    question = {node, *from, *to, static_cast<std::size_t>(*width)};
    return nullptr;
}

using JobMaker = Asker::Job (*)(const HistoryQuestion&, std::shared_ptr<TextPipe>);

void streamHistory(Services& services, const httplib::Request& request, httplib::Response& response,
                   JobMaker job, const char* type) {
    HistoryQuestion question;
    if (const Problem* const problem = readQuestion(request, question)) {
        return refuse(response, *problem);
    }
    const auto pipe = std::make_shared<TextPipe>();
    if (!services.asker.add(job(question, pipe))) return refuse(response, kBusy);
    response.set_chunked_content_provider(
        type,
        [pipe](std::size_t /*offset*/, httplib::DataSink& sink) {
            const std::string text = pipe->take(kPingEvery);
            if (!text.empty() && !sink.write(text.data(), text.size())) return false;
            if (pipe->isOver()) sink.done();
            return true;
        },
        [pipe](bool /*success*/) { pipe->close(); });
}

}  // namespace

void streamColumns(Services& services, const httplib::Request& request,
                   httplib::Response& response) {
    streamHistory(services, request, response, columnsJob, "application/x-ndjson");
}

void streamCsv(Services& services, const httplib::Request& request, httplib::Response& response) {
    response.set_header("Content-Disposition", "attachment; filename=\"history.csv\"");
    streamHistory(services, request, response, csvJob, "text/csv; charset=utf-8");
}

}  // namespace tools::opcuaweb
