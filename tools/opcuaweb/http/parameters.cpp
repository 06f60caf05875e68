#include "tools/opcuaweb/http/parameters.h"

#include <charconv>

namespace tools::opcuaweb {

std::optional<std::int64_t> numberOf(const httplib::Request& request, const char* name,
                                     std::int64_t missing) {
    if (!request.has_param(name)) return missing;
    const std::string text = request.get_param_value(name);
    std::int64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || rest != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string textIn(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

Json bodyOf(const httplib::Request& request) {
    constexpr int kDeepest = 2;  // {"nodes": [...]}
    Json body = parsedJson(request.body, kDeepest);
    if (!body.is_object()) body = Json(Json::value_t::discarded);
    return body;
}

}  // namespace tools::opcuaweb
