#include "tools/opcuaweb/api/routes.h"

#include "tools/opcuaweb/api/requests.h"
#include "tools/opcuaweb/http/answers.h"

namespace tools::opcuaweb {

namespace {

using Method = WebServer::Method;

void answer(const Reply& reply, httplib::Response& response) {
    if (const auto* const problem = std::get_if<Problem>(&reply)) return refuse(response, *problem);
    const auto* const text = std::get_if<JsonText>(&reply);
    response.set_content(text != nullptr ? text->text : jsonLine(std::get<Json>(reply)), kJsonType);
}

/// For requests that are answered by one JSON value.
template <Reply (*request)(Services&, const httplib::Request&)>
void answered(Services& services, const httplib::Request& asked, httplib::Response& response) {
    answer(request(services, asked), response);
}

struct Route {
    Method method;
    const char* path;
    void (*handler)(Services&, const httplib::Request&, httplib::Response&);
};
constexpr Route kRoutes[] = {
    {Method::get, "/api/events", streamEvents},
    {Method::post, "/api/watch", answered<watch>},
    {Method::get, "/api/children", answered<children>},
    {Method::get, "/api/rows", answered<rows>},
    {Method::get, "/api/search", answered<search>},
    {Method::get, "/api/attention", answered<attention>},
    {Method::get, "/api/pens", answered<pens>},
    {Method::get, "/api/history", streamColumns},
    {Method::get, "/api/history.csv", streamCsv},
    {Method::get, "/api/journal", answered<journal>},
    {Method::get, "/api/configuration", answered<configuration>},
    {Method::post, "/api/configuration/check", answered<checkConfiguration>},
    {Method::post, "/api/write/ask", answered<askWrite>},
    {Method::post, "/api/write", answered<write>},
};

}  // namespace

void addRoutes(WebServer& server, Services& services) {
    for (const Route& route : kRoutes) {
        server.add(route.method, route.path,
                   [&services, handler = route.handler](const httplib::Request& request,
                                                        httplib::Response& response) {
                       handler(services, request, response);
                   });
    }
}

}  // namespace tools::opcuaweb
