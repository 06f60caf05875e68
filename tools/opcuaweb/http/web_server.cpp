#include "tools/opcuaweb/http/web_server.h"

#include <utility>

#include "tools/opcuaweb/http/answers.h"

namespace tools::opcuaweb {

using httplib::Request;
using httplib::Response;

WebServer::WebServer(Passwords* passwords) : passwords_(passwords) {
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

// ---- Who is let in -----------------------------------------------------------------------------

/// @return null for a right password
const Problem* WebServer::passwordProblem(const Request& request, Response& response) {
    const auto given = readCredentials(request.get_header_value("Authorization"));
    const auto verdict = given ? passwords_->verify(*given) : Passwords::Verdict::wrong;
    if (verdict == Passwords::Verdict::right) return nullptr;
    if (verdict == Passwords::Verdict::tooMany) return &kTooManyAttempts;
    response.set_header("WWW-Authenticate", "Basic realm=\"opcuaweb\", charset=\"UTF-8\"");
    return &kPasswordNeeded;
}

WebServer::Admission WebServer::admit(const Request& request, Response& response) {
    const std::string host = request.get_header_value("Host");
    const Problem* problem = passwords_ != nullptr  ? passwordProblem(request, response)
                             : isLoopbackHost(host) ? nullptr
                                                    : &kOtherHost;
    // A link from another page may lead here, but no other page may ask for data.
    const bool isForeign = request.has_header("Origin")
                               ? !isSameOrigin(request.get_header_value("Origin"), host)
                               : request.get_header_value("Sec-Fetch-Site") == "cross-site";
    if (problem == nullptr && isForeign && request.path.starts_with("/api/")) {
        problem = &kOtherOrigin;
    }
    if (problem == nullptr) return Admission::Unhandled;
    refuse(response, *problem);
    return Admission::Handled;
}

// ---- Routes ------------------------------------------------------------------------------------

namespace {

/// The library takes paths as regular expressions.
std::string patternOf(std::string_view path) {
    std::string pattern;
    for (const char c : path) {
        if (c == '.') pattern += '\\';
        pattern += c;
    }
    return pattern;
}

void answerFile(const Asset& file, const Request& request, Response& response) {
    response.set_header("Cache-Control", "no-cache");
    response.set_header("ETag", std::string(file.etag));
    if (request.get_header_value("If-None-Match") == file.etag) {
        response.status = 304;
        return;
    }
    response.set_content(file.bytes.data(), file.bytes.size(), std::string(file.type));
}

}  // namespace

void WebServer::addFiles(std::span<const Asset> files) {
    for (const Asset& file : files) {
        add(Method::get, file.path, [file](const Request& request, Response& response) {
            answerFile(file, request, response);
        });
    }
}

void WebServer::add(Method method, std::string_view path, httplib::Server::Handler handler) {
    if (method == Method::get) {
        server_.Get(patternOf(path), std::move(handler));
    } else {
        server_.Post(patternOf(path), std::move(handler));
    }
}

bool WebServer::bind(const ListenAddress& address) {
    return server_.bind(address.host, address.port);
}

}  // namespace tools::opcuaweb
