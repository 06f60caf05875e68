#include "tools/opcuaweb/http/answers.h"

#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

void refuse(httplib::Response& response, const Problem& problem) {
    response.status = problem.status;
    response.set_content(jsonLine({{"error", problem.code}, {"text", inBoth(problem.text)}}),
                         kJsonType);
}

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

namespace {

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

}  // namespace

void addHeaders(httplib::Response& response) {
    for (const HeaderRow& row : kHeaders) {
        response.set_header(row.name, row.value);
    }
    if (!response.has_header("Cache-Control")) response.set_header("Cache-Control", "no-store");
}

}  // namespace tools::opcuaweb
