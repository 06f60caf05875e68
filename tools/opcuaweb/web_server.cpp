#include "tools/opcuaweb/web_server.h"

#include <charconv>
#include <utility>

#include "tools/client/item_list.h"
#include "tools/opcuaweb/asset.h"
#include "tools/opcuaweb/children.h"
#include "tools/opcuaweb/history.h"
#include "tools/opcuaweb/limits.h"
#include "tools/opcuaweb/problem.h"
#include "tools/opcuaweb/tree_walk.h"

namespace tools::opcuaweb {

namespace {

// ---- Answers -----------------------------------------------------------------------------------

constexpr const char* kJson = "application/json";

void refuse(httplib::Response& response, const Problem& problem) {
    response.status = problem.status;
    response.set_content(jsonLine({{"error", problem.code}, {"text", inBoth(problem.text)}}),
                         kJson);
}

struct HeaderRow {
    const char* name;
    const char* value;
};
constexpr HeaderRow kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
     "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
};

void addHeaders(httplib::Response& response) {
    for (const HeaderRow& row : kHeaders) {
        response.set_header(row.name, row.value);
    }
    if (!response.has_header("Cache-Control")) response.set_header("Cache-Control", "no-store");
}

/// For what the library itself refuses.
void describeFailure(httplib::Response& response) {
    if (!response.body.empty()) return;
    const int status = response.status;
    Problem problem = status == 404   ? kUnknownPath
                      : status == 413 ? kTooLarge
                      : status >= 500 ? kInternal
                                      : kUnreadableRequest;
    problem.status = status;
    refuse(response, problem);
}

// ---- Questions ---------------------------------------------------------------------------------

/// @return nothing if the parameter is there and is no number
std::optional<std::int64_t> numberOf(const httplib::Request& request, const char* name,
                                     std::int64_t missing) {
    if (!request.has_param(name)) return missing;
    const std::string text = request.get_param_value(name);
    std::int64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || rest != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string nodeOf(const httplib::Request& request) {
    return request.has_param("node") ? request.get_param_value("node") : "i=85";
}

std::string textIn(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

/// The body as a JSON object; a discarded value if it is none.
Json bodyOf(const httplib::Request& request) {
    Json body = Json::parse(request.body, nullptr, false);
    return body.is_object() ? body : Json(Json::value_t::discarded);
}

}  // namespace

WebServer::WebServer(Services& services, Passwords* passwords)
    : services_(services), passwords_(passwords) {
    addRules();
    addPage();
    addTree();
    addHistory();
    addParts();
    addWrites();
}

bool WebServer::bind(const ListenAddress& address) {
    return server_.bind(address.host, address.port);
}

httplib::Server::Handler WebServer::answering(Handler handler) {
    return [handler = std::move(handler)](const Request& request, Response& response) {
        const Result result = handler(request);
        if (const auto* const problem = std::get_if<Problem>(&result)) {
            return refuse(response, *problem);
        }
        response.set_content(jsonLine(std::get<Json>(result)), kJson);
    };
}

void WebServer::get(const std::string& path, Handler handler) {
    server_.Get(path, answering(std::move(handler)));
}

void WebServer::post(const std::string& path, Handler handler) {
    server_.Post(path, answering(std::move(handler)));
}

// ---- Rules for all -----------------------------------------------------------------------------

void WebServer::addRules() {
    server_.set_pre_routing_handler(
        [this](const Request& request, Response& response) { return admit(request, response); });
    server_.set_post_routing_handler(
        [](const Request& /*request*/, Response& response) { addHeaders(response); });
    server_.set_error_handler(
        [](const Request& /*request*/, Response& response) { describeFailure(response); });
    server_.set_exception_handler(
        [](const Request& /*request*/, Response& response, const std::exception_ptr& /*failure*/) {
            refuse(response, kInternal);
        });
}

WebServer::Answer WebServer::admit(const Request& request, Response& response) {
    const auto refused = [&](const Problem& problem) {
        refuse(response, problem);
        return Answer::Handled;
    };
    const std::string host = request.get_header_value("Host");
    if (passwords_ == nullptr && !isLoopbackHost(host)) return refused(kOtherHost);
    if (passwords_ != nullptr) {
        const auto given = readCredentials(request.get_header_value("Authorization"));
        const auto verdict = given ? passwords_->verify(*given) : Passwords::Verdict::wrong;
        if (verdict == Passwords::Verdict::tooMany) return refused(kTooManyAttempts);
        if (verdict == Passwords::Verdict::wrong) {
            response.set_header("WWW-Authenticate", "Basic realm=\"opcuaweb\", charset=\"UTF-8\"");
            return refused(kPasswordNeeded);
        }
    }
    // A link from another page may lead here, but no other page may ask for data.
    const bool isData = request.path.starts_with("/api/");
    const bool isForeign = request.has_header("Origin")
                               ? !isSameOrigin(request.get_header_value("Origin"), host)
                               : request.get_header_value("Sec-Fetch-Site") == "cross-site";
    if (isData && isForeign) return refused(kOtherOrigin);
    return Answer::Unhandled;
}

// ---- Page, events ------------------------------------------------------------------------------

namespace {

/// Routes are regular expressions.
std::string routeOf(std::string_view path) {
    std::string route;
    for (const char c : path) {
        if (c == '.') route += '\\';
        route += c;
    }
    return route;
}

}  // namespace

void WebServer::addPage() {
    for (const Asset& asset : assets()) {
        server_.Get(routeOf(asset.path), [asset](const Request& request, Response& response) {
            response.set_header("Cache-Control", "no-cache");
            response.set_header("ETag", std::string(asset.etag));
            if (request.get_header_value("If-None-Match") == asset.etag) {
                response.status = 304;
                return;
            }
            response.set_content(asset.bytes.data(), asset.bytes.size(), std::string(asset.type));
        });
    }
    server_.Get("/api/events",
                [this](const Request& /*request*/, Response& response) { openEvents(response); });
    post("/api/watch", [this](const Request& request) { return watch(request); });
}

void WebServer::openEvents(Response& response) {
    const auto browser = services_.browsers.add();
    if (!browser) return refuse(response, kTooManyBrowsers);
    browser->put("hello", jsonLine(services_.hello(*browser)));
    browser->put("link", jsonLine(services_.live.link()));
    browser->put("overview", jsonLine(services_.overview()));
    response.set_header("X-Accel-Buffering", "no");  // proxies must pass events on at once
    response.set_chunked_content_provider(
        "text/event-stream",
        [browser](std::size_t /*offset*/, httplib::DataSink& sink) {
            const std::string text = browser->take(kPingEvery);
            if (text.empty()) sink.done();
            return text.empty() || sink.write(text.data(), text.size());
        },
        [this, browser](bool /*success*/) { services_.browsers.remove(*browser); });
}

WebServer::Result WebServer::watch(const Request& request) {
    const Json body = bodyOf(request);
    if (body.is_discarded() || !body.contains("nodes") || !body["nodes"].is_array()) {
        return kBadRequest;
    }
    const auto browser = services_.browsers.find(textIn(body, "browser"));
    if (!browser) return kUnknownBrowser;
    if (body["nodes"].size() > kMostWatched) return kTooManyNodes;
    std::vector<std::string> nodes;
    for (const Json& node : body["nodes"]) {
        if (!node.is_string() || !isNodeId(node.get<std::string>())) return kBadNode;
        nodes.push_back(node.get<std::string>());
    }
    services_.browsers.watch(*browser, nodes);
    return Json{{"watched", nodes.size()}};
}

// ---- Tree --------------------------------------------------------------------------------------

void WebServer::addTree() {
    get("/api/children", [this](const Request& request) { return children(request); });
    server_.Get("/api/rows", [this](const Request& request, Response& response) {
        const auto rows = rowsBelow(request);
        if (const auto* const problem = std::get_if<Problem>(&rows)) {
            return refuse(response, *problem);
        }
        response.set_content(std::get<std::string>(rows), kJson);
    });
    get("/api/search", [this](const Request& request) -> Result {
        const auto limit = numberOf(request, "limit", 100);
        if (!limit || *limit < 1) return kBadRequest;
        const auto most = std::min(static_cast<std::size_t>(*limit), kMostHits);
        return services_.index.search(request.get_param_value("q"), most);
    });
    get("/api/attention", [this](const Request& request) -> Result {
        const auto limit = numberOf(request, "limit", 100);
        if (!limit || *limit < 1) return kBadRequest;
        auto rows = services_.sweep.attention(request.get_param_value("kind"),
                                              static_cast<std::size_t>(*limit));
        if (!rows) return kBadRequest;
        return std::move(*rows);
    });
    get("/api/pens", [this](const Request& /*request*/) { return services_.index.pens(); });
}

WebServer::Result WebServer::children(const Request& request) {
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return kBadNode;
    const auto answer = services_.asker.ask<std::optional<Json>>(
        [node](Session& session) { return childrenOf(session, node); }, kAnswerTime);
    if (!answer || !*answer) return kNoConnection;
    return **answer;
}

namespace {

/// Made row by row: as one JSON value, the rows of a large tree would take ten times their text.
std::string rowsText(TreeWalk& walk) {
    std::string text = std::string(R"({"complete":)") + (walk.isComplete() ? "true" : "false");
    const char* separator = R"(,"rows":[)";
    const std::vector<Row> rows = walk.takeRows();
    for (const Row& row : rows) {
        text += std::exchange(separator, ",") + jsonLine(rowJson(row));
    }
    return text + (rows.empty() ? R"(,"rows":[]})" : "]}");
}

}  // namespace

WebServer::Rows WebServer::rowsBelow(const Request& request) {
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return kBadNode;
    const auto promise = std::make_shared<std::promise<Rows>>();
    auto answer = promise->get_future();
    const auto walk = std::make_shared<TreeWalk>(node, kMostRows);
    const bool taken = services_.asker.add([promise, walk](Session* session) {
        if (session == nullptr || !walk->step(*session)) {
            promise->set_value(kNoConnection);
            return Asker::Step::done;
        }
        if (!walk->isDone()) return Asker::Step::again;
        promise->set_value(rowsText(*walk));
        return Asker::Step::done;
    });
    const bool isAnswered = taken && answer.wait_for(kWalkTime) == std::future_status::ready;
    if (!isAnswered) return kBusy;
    return answer.get();
}

// ---- Histories ---------------------------------------------------------------------------------

void WebServer::addHistory() {
    server_.Get("/api/history", [this](const Request& request, Response& response) {
        streamHistory(request, response, false);
    });
    server_.Get(routeOf("/api/history.csv"), [this](const Request& request, Response& response) {
        streamHistory(request, response, true);
    });
}

void WebServer::streamHistory(const Request& request, Response& response, bool csv) {
    constexpr std::int64_t kLatest = std::int64_t{1} << 43;  // ms since 1970, in the year 2248
    constexpr std::int64_t kMostPixels = 10'000;
    const auto from = numberOf(request, "from", 0);
    const auto to = numberOf(request, "to", 0);
    const auto width = numberOf(request, "width", 1000);
    const std::string node = nodeOf(request);
    if (!isNodeId(node)) return refuse(response, kBadNode);
    const bool isRange = from && to && width && *from >= 0 && *from <= *to && *to <= kLatest &&
                         *width >= 1 && *width <= kMostPixels;
    if (!isRange) return refuse(response, kBadRequest);
    const auto pipe = std::make_shared<TextPipe>();
    const HistoryQuestion question{node, *from, *to, static_cast<std::size_t>(*width)};
    if (!services_.asker.add(csv ? csvJob(question, pipe) : columnsJob(question, pipe))) {
        return refuse(response, kBusy);
    }
    if (csv) response.set_header("Content-Disposition", "attachment; filename=\"history.csv\"");
    response.set_chunked_content_provider(
        csv ? "text/csv; charset=utf-8" : "application/x-ndjson",
        [pipe](std::size_t /*offset*/, httplib::DataSink& sink) {
            const std::string text = pipe->take(kPingEvery);
            if (!text.empty() && !sink.write(text.data(), text.size())) return false;
            if (pipe->isOver()) sink.done();
            return true;
        },
        [pipe](bool /*success*/) { pipe->close(); });
}

// ---- Journal, configuration --------------------------------------------------------------------

void WebServer::addParts() {
    get("/api/journal", [this](const Request& request) { return journalMessages(request); });
    get("/api/configuration", [this](const Request& /*request*/) -> Result {
        if (!services_.configuration) return kNoConfiguration;
        auto checked = services_.configuration->current();
        if (!checked) return kConfigurationUnreadable;
        return std::move(*checked);
    });
    post("/api/configuration/check",
         [this](const Request& request) { return checkConfiguration(request); });
}

WebServer::Result WebServer::journalMessages(const Request& request) {
    if (!services_.journal) return kNoJournal;
    JournalFeed::Choice choice;
    const auto from = numberOf(request, "from", choice.fromMs);
    const auto to = numberOf(request, "to", choice.toMs);
    const auto limit = numberOf(request, "limit", 0);
    choice.codes = request.get_param_value("codes");
    const bool isList = choice.codes.empty() || JournalFeed::isCodeList(choice.codes);
    if (!from || !to || !limit || *limit < 0 || !isList) return kBadRequest;
    choice.fromMs = *from;
    choice.toMs = *to;
    choice.limit = static_cast<std::size_t>(*limit);
    auto messages = services_.journal->messages(choice);
    if (!messages) return kJournalGone;
    return std::move(*messages);
}

WebServer::Result WebServer::checkConfiguration(const Request& request) {
    if (!services_.configuration) return kNoConfiguration;
    const Json body = bodyOf(request);
    if (body.is_discarded() || !body.contains("text") || !body["text"].is_string()) {
        return kBadRequest;
    }
    const std::string text = textIn(body, "text");
    if (text.size() > kMostConfiguration) return kTooLarge;
    auto checked = services_.configuration->check(text);
    if (!checked) return kInternal;
    return std::move(*checked);
}

// ---- Writes ------------------------------------------------------------------------------------

void WebServer::addWrites() {
    post("/api/write/ask", [this](const Request& request) { return write(request, false); });
    post("/api/write", [this](const Request& request) { return write(request, true); });
}

WebServer::Result WebServer::write(const Request& request, bool really) {
    if (!services_.options.allowWrites) return kWritesOff;
    // A foreign page can send neither this header nor this type without asking first.
    const bool isOurs =
        isSameOrigin(request.get_header_value("Origin"), request.get_header_value("Host")) &&
        request.get_header_value("X-Opcuaweb") == "1" &&
        request.get_header_value("Content-Type").starts_with(kJson);
    if (!isOurs) return kOtherOrigin;
    const Json body = bodyOf(request);
    if (body.is_discarded() || !body.contains("value") || !body["value"].is_string()) {
        return kBadRequest;
    }
    const std::string node = textIn(body, "node");
    const std::string value = textIn(body, "value");
    if (!isNodeId(node)) return kBadNode;
    if (!really) return services_.writes.ask(node, value);
    if (!services_.browsers.find(textIn(body, "browser"))) return kUnknownBrowser;
    const bool isConfirmed = body.contains("confirmed") && body["confirmed"] == true;
    if (!isConfirmed) return kNotConfirmed;
    return services_.writes.write(node, value, request.remote_addr);
}

}  // namespace tools::opcuaweb
