#include "server/text/Utf8ToCP866Converter.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "server/text/cp866_table.h"

namespace {

/// The inverse of the table. Never destroyed, so that texts can be converted until the very end.
const std::unordered_map<std::uint16_t, std::uint8_t>& unicodeToCp866() {
    static const auto& inverse = *[] {
        auto* map = new std::unordered_map<std::uint16_t, std::uint8_t>;
        for (std::size_t i = 0; i < cp866_to_unicode.size(); ++i) {
            map->emplace(cp866_to_unicode[i], static_cast<std::uint8_t>(0x80U + i));
        }
        return map;
    }();
    return inverse;
}

/// Made while the program starts, before a client can wait for it.
[[maybe_unused]] const auto& unicode_to_cp866 = unicodeToCp866();

struct Decoded {
    std::uint16_t code = 0;
    std::size_t length = 0;  // bytes taken; 0 when no sequence of two or three bytes starts here
};

Decoded decodeSequence(std::string_view utf8) {
    const auto byte = [utf8](std::size_t i) {
        return i < utf8.size() ? static_cast<unsigned>(static_cast<std::uint8_t>(utf8[i])) : 0U;
    };
    const auto isContinuation = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };

    const unsigned lead = byte(0);
    if ((lead & 0xE0U) == 0xC0U && isContinuation(1)) {
        return {static_cast<std::uint16_t>((lead & 0x1FU) << 6U | (byte(1) & 0x3FU)), 2};
    }
    if ((lead & 0xF0U) == 0xE0U && isContinuation(1) && isContinuation(2)) {
        // The cast drops the lead's marker bits.
        return {
            static_cast<std::uint16_t>(lead << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU)),
            3};
    }
    return {};
}

/// Overlong forms have codes below 0x80 here and count as the character that they encode.
char toCp866(std::uint16_t code) {
    if (code < 0x80) return static_cast<char>(code);
    const auto found = unicodeToCp866().find(code);
    return found == unicodeToCp866().end() ? '?' : static_cast<char>(found->second);
}

}  // namespace

std::string Utf8ToCP866Converter::convertUtf8ToCP866_manual(const std::string& utf8) {
    std::string cp866;
    cp866.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        if (static_cast<std::uint8_t>(utf8[i]) < 0x80) {
            cp866.push_back(utf8[i++]);
            continue;
        }
        const Decoded decoded = decodeSequence(std::string_view(utf8).substr(i));
        cp866.push_back(decoded.length == 0 ? '?' : toCp866(decoded.code));
        // The byte after a bad one may start a valid character.
        i += decoded.length == 0 ? 1 : decoded.length;
    }
    return cp866;
}
