#pragma once

#include <httplib.h>

#include <string>
#include <variant>

#include "tools/opcuaweb/basics/json.h"
#include "tools/opcuaweb/basics/problem.h"
#include "tools/opcuaweb/services/services.h"

/// How each path is answered, by subject; docs/opcuaweb-interface.md describes requests and answers.
/// Any thread.
namespace tools::opcuaweb {

/// JSON that is text already.
struct JsonText {
    std::string text;
};
using Reply = std::variant<Json, JsonText, Problem>;

/// The request's node, by default the Objects folder.
[[nodiscard]] std::string nodeOf(const httplib::Request& request);

// ---- Events ------------------------------------------------------------------------------------

void streamEvents(Services& services, const httplib::Request& request, httplib::Response& response);
[[nodiscard]] Reply watch(Services& services, const httplib::Request& request);

// ---- Tree --------------------------------------------------------------------------------------

[[nodiscard]] Reply children(Services& services, const httplib::Request& request);
[[nodiscard]] Reply rows(Services& services, const httplib::Request& request);
[[nodiscard]] Reply search(Services& services, const httplib::Request& request);
[[nodiscard]] Reply attention(Services& services, const httplib::Request& request);
[[nodiscard]] Reply pens(Services& services, const httplib::Request& request);

// ---- Histories ---------------------------------------------------------------------------------

void streamColumns(Services& services, const httplib::Request& request,
                   httplib::Response& response);
void streamCsv(Services& services, const httplib::Request& request, httplib::Response& response);

// ---- Journal, configuration --------------------------------------------------------------------

[[nodiscard]] Reply journal(Services& services, const httplib::Request& request);
[[nodiscard]] Reply configuration(Services& services, const httplib::Request& request);
[[nodiscard]] Reply checkConfiguration(Services& services, const httplib::Request& request);

// ---- Writes ------------------------------------------------------------------------------------

[[nodiscard]] Reply askWrite(Services& services, const httplib::Request& request);
[[nodiscard]] Reply write(Services& services, const httplib::Request& request);

}  // namespace tools::opcuaweb
