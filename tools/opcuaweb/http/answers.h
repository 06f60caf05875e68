#pragma once

#include <httplib.h>

#include "tools/opcuaweb/basics/problem.h"

/// What all answers have in common.
namespace tools::opcuaweb {

inline constexpr const char* kJsonType = "application/json";

/// Answers with the problem's status, and its word and texts as JSON.
void refuse(httplib::Response& response, const Problem& problem);

/// Describes a refusal of the HTTP library, which has a status only.
void describeFailure(httplib::Response& response);

/// What browsers must not do with an answer: run foreign code, guess types, keep it.
void addHeaders(httplib::Response& response);

}  // namespace tools::opcuaweb
