#include "tools/json/json_text.h"

#include <array>
#include <cstdio>

std::string jsonText(std::string_view utf8) {
    constexpr char kFirstPrintable = ' ';
    std::string text = "\"";
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (byte < kFirstPrintable) {
            std::array<char, sizeof("\\u0000")> escape{};
            static_cast<void>(std::snprintf(escape.data(), escape.size(), "\\u%04x", byte));
            text += escape.data();
        } else {
            text += c;
        }
    }
    return text + '"';
}
