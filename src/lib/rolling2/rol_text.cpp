// Messages as text. The controller's dictionaries are files of other programs; the OPC UA server's
// messages have their texts here.
#include <cstdio>
#include <string_view>

#include "lib/rolling2/rol_mes.h"
#include "lib/util/cp866_text.h"

namespace {

struct KnownText {
    std::uint32_t code;
    const char* beforeController;
    const char* text;  // the remaining arguments follow, one blank between two of them
};
constexpr KnownText kKnownTexts[] = {
    {18091, "ЦП "_cp866z, ": OPC UA Сервер: Запуск: Версия: "_cp866z},
    {18092, "ЦП "_cp866z, ": OPC UA Сервер: Запущен: "_cp866z},
    {18093, "ЦП "_cp866z, ": OPC UA Сервер: Остановлен"_cp866z},
    {18094, "ЦП "_cp866z, ": OPC UA Сервер: Ошибка конфигурации: "_cp866z},
};

struct AsText {
    std::string operator()(std::monostate) const { return "?"; }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(std::uint64_t number) const { return std::to_string(number); }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(double number) const {
        char text[32];
        std::snprintf(text, sizeof(text), "%.10g", number);
        return text;
    }
};

/// @param separator  between two of them
std::string joined(std::span<const RolValue> values, std::string_view separator) {
    std::string text;
    for (const RolValue& value : values) {
        if (&value != values.data()) text += separator;
        text += std::visit(AsText{}, value.value);
    }
    return text;
}

std::string textOf(const SRolMessage& message) {
    if (auto known = RolKnownText(message)) return *known;
    const auto values = RolArguments(message);
    const std::string number =
        std::to_string(message.DicNumber) + "/" + std::to_string(message.MessageCode);
    return values.empty() ? number : number + ": " + joined(values, ", ");
}

}  // namespace

std::optional<std::string> RolKnownText(const SRolMessage& message) {
    const auto values = RolArguments(message);
    for (const KnownText& known : kKnownTexts) {
        if (known.code != message.MessageCode || values.empty()) continue;
        return known.beforeController + std::visit(AsText{}, values[0].value) + known.text +
               joined(std::span(values).subspan(1), " ");
    }
    return std::nullopt;
}

std::string CRolMessageInterface::MakeString(const char* designationCp866) const {
    constexpr long kUsPerMs = 1000;
    const TimeType time(static_cast<long>(Message.Date.sec), Message.Date.msec * kUsPerMs);
    std::string line = time.GetDateString_r() + " ";
    if (designationCp866 != nullptr && *designationCp866 != '\0') {
        // Designation and the two halves of the name; the dictionaries contain only the
        // designation.
        char columns[40];
        std::snprintf(columns, sizeof(columns),
                      poz24_ ? "%-8.8s%-8.8s%-8.8s " : "%-8.8s %-8.8s%-8.8s ", designationCp866, "",
                      "");
        line += columns;
    }
    return line + textOf(Message);
}
