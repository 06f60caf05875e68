#include "tools/client/item_list.h"
#include "tools/opcuaweb/api/requests.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/http/answers.h"
#include "tools/opcuaweb/http/parameters.h"

namespace tools::opcuaweb {

void streamEvents(Services& services, const httplib::Request& /*request*/,
                  httplib::Response& response) {
    const auto browser = services.browsers.add();
    if (!browser) return refuse(response, kTooManyBrowsers);
    browser->put("hello", jsonLine(services.hello(*browser)));
    browser->put("link", jsonLine(services.live.link()));
    browser->put("overview", jsonLine(services.overview()));
    response.set_header("X-Accel-Buffering", "no");  // proxies must pass events on at once
    response.set_chunked_content_provider(
        "text/event-stream",
        [browser](std::size_t /*offset*/, httplib::DataSink& sink) {
            const std::string text = browser->take(kPingEvery);
            if (text.empty()) sink.done();
            return text.empty() || sink.write(text.data(), text.size());
        },
        [&services, browser](bool /*success*/) { services.browsers.remove(*browser); });
}

Reply watch(Services& services, const httplib::Request& request) {
    const Json body = bodyOf(request);
    if (body.is_discarded() || !body.contains("nodes") || !body["nodes"].is_array()) {
        return kBadRequest;
    }
    const auto browser = services.browsers.find(textIn(body, "browser"));
    if (!browser) return kUnknownBrowser;
    if (body["nodes"].size() > kMostWatched) return kTooManyNodes;
    std::vector<std::string> nodes;
    for (const Json& node : body["nodes"]) {
        if (!node.is_string() || !isNodeId(node.get<std::string>())) return kBadNode;
        nodes.push_back(node.get<std::string>());
    }
    services.browsers.watch(*browser, nodes);
    return Json{{"watched", nodes.size()}};
}

}  // namespace tools::opcuaweb
