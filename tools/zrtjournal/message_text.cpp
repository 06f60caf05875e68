#include "tools/zrtjournal/message_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <span>

#include "server/text/ToUTF8Converter.h"
#include "server/text/Utf8ToCP866Converter.h"

namespace tools::zrtjournal {

// ---- Code pages --------------------------------------------------------------------------------

namespace {

/// Whether the bytes are UTF-8 whose non-ASCII characters are all Cyrillic or the numero sign.
/// Words in CP866 never are: their bytes would have to be box drawings.
bool isRussianUtf8(std::string_view bytes) {
    constexpr std::string_view kNumero = "№";
    bool hasLetters = false;
    while (!bytes.empty()) {
        const auto first = static_cast<unsigned char>(bytes[0]);
        const bool isCyrillic = (first == 0xD0 || first == 0xD1) && bytes.size() > 1 &&
                                (static_cast<unsigned char>(bytes[1]) & 0xC0U) == 0x80U;
        const bool isNumero = bytes.substr(0, kNumero.size()) == kNumero;
        if (first >= 0x80 && !isCyrillic && !isNumero) return false;
        hasLetters |= isCyrillic;
        bytes.remove_prefix(isNumero ? kNumero.size() : isCyrillic ? 2 : 1);
    }
    return hasLetters;
}

std::string inOneLine(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
    }
    return text;
}

/// A copy in which all texts are CP866.
SRolMessage withCp866Texts(const SRolMessage& message) {
    constexpr std::size_t kHead = 2;  // type and length
    SRolMessage copy = message;
    std::span<const std::uint8_t> from(message.ArgsBuffer);
    std::uint8_t* to = copy.ArgsBuffer;
    for (int i = 0; i < message.NumberOfArgs && from.size() >= kHead; ++i) {
        const std::size_t size = from[1];
        if (size > from.size() - kHead) break;
        std::string data(reinterpret_cast<const char*>(from.data()) + kHead, size);
        if (from[0] == RT_STR && isRussianUtf8(data.c_str())) {
            data = Utf8ToCP866Converter::convertUtf8ToCP866_manual(data);
        }
        *to++ = from[0];
        *to++ = static_cast<std::uint8_t>(data.size());  // CP866 is never longer
        to = std::copy(data.begin(), data.end(), to);
        from = from.subspan(kHead + size);
    }
    return copy;
}

}  // namespace

std::string readable(const std::string& bytes) {
    if (isRussianUtf8(bytes)) return inOneLine(bytes);
    return ToUTF8Converter::convertCP866ToUtf8_manual(inOneLine(bytes));
}

// ---- Arguments ---------------------------------------------------------------------------------

namespace {

std::string numberText(double number) {
    std::array<char, 32> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%.10g", number));
    return text.data();
}

struct Shown {
    std::string operator()(std::monostate) const { return "?"; }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(std::uint64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const { return numberText(number); }
    std::string operator()(const std::string& text) const { return readable(text); }
};

struct Quoted : Shown {
    using Shown::operator();
    std::string operator()(const std::string& text) const { return '"' + readable(text) + '"'; }
};

template <class Form>
std::string joined(const std::vector<RolValue>& values, const Form& form) {
    std::string text;
    for (const RolValue& value : values) {
        if (!text.empty()) text += ", ";
        text += std::visit(form, value.value);
    }
    return text;
}

}  // namespace

std::string argumentList(const SRolMessage& message) {
    return joined(RolArguments(message), Quoted{});
}

namespace {

struct JsonForm {
    template <class Integer>
    nlohmann::ordered_json operator()(Integer number) const {
        return number;
    }
    nlohmann::ordered_json operator()(std::monostate) const { return nullptr; }
    nlohmann::ordered_json operator()(double number) const {
        if (!std::isfinite(number)) return nullptr;
        return nlohmann::ordered_json::parse(numberText(number));
    }
    nlohmann::ordered_json operator()(const std::string& text) const { return readable(text); }
};

}  // namespace

nlohmann::ordered_json argumentsJson(const SRolMessage& message) {
    auto list = nlohmann::ordered_json::array();
    for (const RolValue& value : RolArguments(message)) {
        list.push_back(std::visit(JsonForm{}, value.value));
    }
    return list;
}

// ---- Texts -------------------------------------------------------------------------------------

std::optional<std::string> russianText(const SRolMessage& message) {
    const auto cp866 = RolKnownText(withCp866Texts(message));
    if (!cp866) return std::nullopt;
    return ToUTF8Converter::convertCP866ToUtf8_manual(inOneLine(*cp866));
}

namespace {

struct EnglishText {
    std::uint32_t code;
    const char* text;  // between the controller's number and the other arguments
};
constexpr EnglishText kEnglishTexts[] = {
    {18091, ": OPC UA server: start, version "},
    {18092, ": OPC UA server: running "},
    {18093, ": OPC UA server: stopped"},
    {18094, ": OPC UA server: configuration error "},
};

}  // namespace

std::optional<std::string> englishText(const SRolMessage& message) {
    const auto values = RolArguments(message);
    for (const EnglishText& row : kEnglishTexts) {
        if (row.code != message.MessageCode || values.empty()) continue;
        std::string text = "Controller " + std::visit(Shown{}, values[0].value) + row.text;
        for (std::size_t i = 1; i < values.size(); ++i) {
            if (i > 1) text += ' ';
            text += std::visit(Shown{}, values[i].value);
        }
        return text;
    }
    return std::nullopt;
}

std::string variableName(const SRolMessage& message) {
    constexpr const char* kTypes[] = {"VA", "AV", "HI", "DI", "DO", "TH",
                                      "TM", "TS", "FV", "IV", "LV"};
    const int type = message.VarType;
    if (type < 0) return {};
    const bool isKnown = type >= 1 && type <= static_cast<int>(std::size(kTypes));
    return (isKnown ? kTypes[type - 1] : "type " + std::to_string(type)) + std::string(" ") +
           std::to_string(message.VarNumber);
}

}  // namespace tools::zrtjournal
