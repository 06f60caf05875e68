#include "tools/text/text.h"

#include <climits>
#include <clocale>
#include <cwchar>
#include <cwctype>

namespace tools {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";     // U+2026

}  // namespace

// The C library knows the widths only for the thread's locale, but the result must not depend on
// the operator's shell settings.
namespace {

class Utf8Locale {
  public:
    Utf8Locale() : previous_(uselocale(locale())) {}
    ~Utf8Locale() { uselocale(previous_); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

  private:
    static locale_t locale() {
        static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return utf8 == nullptr ? uselocale(nullptr) : utf8;
    }
    locale_t previous_;
};

struct Character {
    std::string_view bytes;
    wchar_t code;  // 0xFFFD when malformed
    int width;     // -1: a control character
};

/// Removes the next character from `rest`, which must not be empty. A malformed byte is one
/// character.
Character takeCharacter(std::string_view& rest) {
    std::mbstate_t state{};
    wchar_t code = 0;
    const std::size_t length = std::mbrtowc(&code, rest.data(), rest.size(), &state);
    Character character{rest.substr(0, 1), L'\xFFFD', 1};
    if (length == 0) {
        character.code = L'\0';
        character.width = -1;
    } else if (length <= rest.size()) {
        character = {rest.substr(0, length), code, wcwidth(code)};
    }
    rest.remove_prefix(character.bytes.size());
    return character;
}

}  // namespace

int displayWidth(std::string_view text) {
    const Utf8Locale utf8;
    int width = 0;
    while (!text.empty()) {
        const int columns = takeCharacter(text).width;
        width += columns < 0 ? 1 : columns;
    }
    return width;
}

std::string printable(std::string_view text) {
    const Utf8Locale utf8;
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        if (character.width < 0) {
            result += '?';
        } else if (character.code == L'\xFFFD') {
            result += kReplacement;
        } else {
            result += character.bytes;
        }
    }
    return result;
}

namespace {

/// The longest beginning that takes at most `width` columns; `used` gets the columns it takes.
std::string_view beginning(std::string_view text, int width, int& used) {
    const Utf8Locale utf8;
    std::string_view rest = text;
    std::size_t bytes = 0;
    used = 0;
    while (!rest.empty()) {
        const Character character = takeCharacter(rest);
        const int columns = character.width < 0 ? 1 : character.width;
        if (used + columns > width) break;
        used += columns;
        bytes += character.bytes.size();
    }
    return text.substr(0, bytes);
}

}  // namespace

std::string fitted(std::string_view text, int width, Align align) {
    if (width <= 0) return {};
    int used = 0;
    std::string result{beginning(text, width, used)};
    if (result.size() < text.size()) {
        result = beginning(text, width - 1, used);
        result += kEllipsis;
        ++used;
    }
    const std::string padding(static_cast<std::size_t>(width - used), ' ');
    return align == Align::left ? result + padding : padding + result;
}

std::string lowered(std::string_view text) {
    const Utf8Locale utf8;
    std::string result;
    while (!text.empty()) {
        const Character character = takeCharacter(text);
        char bytes[MB_LEN_MAX];
        std::mbstate_t state{};
        const auto small = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(character.code)));
        const std::size_t length = std::wcrtomb(bytes, small, &state);
        if (character.code == L'\xFFFD' || length == static_cast<std::size_t>(-1)) {
            result += character.bytes;
        } else {
            result.append(bytes, length);
        }
    }
    return result;
}

}  // namespace tools
