#include "tools/client/item_list.h"
#include "tools/opcuaweb/api/requests.h"
#include "tools/opcuaweb/http/answers.h"
#include "tools/opcuaweb/http/parameters.h"

namespace tools::opcuaweb {

namespace {

/// A foreign page can send neither this header nor this type without asking first.
bool isOurs(const httplib::Request& request) {
    return isSameOrigin(request.get_header_value("Origin"), request.get_header_value("Host")) &&
           request.get_header_value("X-Opcuaweb") == "1" &&
           request.get_header_value("Content-Type").starts_with(kJsonType);
}

/// @param body  of the request. @return what is wrong with it; null if nothing is
const Problem* problemOf(const Services& services, const httplib::Request& request,
                         const Json& body) {
    if (!services.options.allowWrites) return &kWritesOff;
    if (!isOurs(request)) return &kOtherOrigin;
    if (body.is_discarded() || !body.contains("value") || !body["value"].is_string()) {
        return &kBadRequest;
    }
    return isNodeId(textIn(body, "node")) ? nullptr : &kBadNode;
}

Reply replyOf(Writes::Answer answer) {
    return std::visit([](auto& part) -> Reply { return std::move(part); }, answer);
}

}  // namespace

Reply askWrite(Services& services, const httplib::Request& request) {
    const Json body = bodyOf(request);
    if (const auto* const problem = problemOf(services, request, body)) return *problem;
    return replyOf(services.writes.ask(textIn(body, "node"), textIn(body, "value")));
}

Reply write(Services& services, const httplib::Request& request) {
    const Json body = bodyOf(request);
    if (const auto* const problem = problemOf(services, request, body)) return *problem;
    if (!services.browsers.find(textIn(body, "browser"))) return kUnknownBrowser;
    const bool isConfirmed = body.contains("confirmed") && body["confirmed"] == true;
    if (!isConfirmed) return kNotConfirmed;
    return replyOf(
        services.writes.write(textIn(body, "node"), textIn(body, "value"), request.remote_addr));
}

}  // namespace tools::opcuaweb
