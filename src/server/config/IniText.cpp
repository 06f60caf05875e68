#include "server/config/IniText.h"

#include <algorithm>

std::string_view withoutLeading(std::string_view text, std::string_view skipped) {
    text.remove_prefix(std::min(text.find_first_not_of(skipped), text.size()));
    return text;
}

std::string_view withoutTrailing(std::string_view text, std::string_view skipped) {
    return text.substr(0, text.find_last_not_of(skipped) + 1);
}

std::string_view withoutBlanks(std::string_view text) {
    return withoutLeading(withoutTrailing(text, kIniBlanks), kIniBlanks);
}

std::string lowered(std::string_view text) {
    std::string low(text);
    for (char& c : low) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return low;
}
