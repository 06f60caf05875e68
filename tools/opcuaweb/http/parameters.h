#pragma once

#include <httplib.h>

#include <cstdint>
#include <optional>
#include <string>

#include "tools/opcuaweb/basics/json.h"

/// What requests contain.
namespace tools::opcuaweb {

/// @param missing  the number if the parameter is not there
/// @return nothing if the parameter is there and is no number
[[nodiscard]] std::optional<std::int64_t> numberOf(const httplib::Request& request,
                                                   const char* name, std::int64_t missing);

/// The text of the body's member; empty if there is none, or another value.
[[nodiscard]] std::string textIn(const Json& object, const char* key);

/// The body as a JSON object; a discarded value if it is none.
[[nodiscard]] Json bodyOf(const httplib::Request& request);

}  // namespace tools::opcuaweb
