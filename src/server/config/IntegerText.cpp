#include "server/config/IntegerText.h"

#include <sstream>

bool startsWithInteger(const std::string& text) {
    std::int32_t number = 0;
    return static_cast<bool>(std::istringstream(text) >> number);
}

std::optional<std::int32_t> wholeInteger(const std::string& text, LeadingBlanks leading) {
    std::istringstream stream(text);
    if (leading == LeadingBlanks::refused) stream >> std::noskipws;
    std::int32_t number = 0;
    if (!(stream >> number)) return std::nullopt;
    if (stream.peek() != std::istringstream::traits_type::eof()) return std::nullopt;
    return number;
}
