#include "tools/opcuacheck/display_text.h"

#include <algorithm>

#include "server/config/IniText.h"
#include "server/text/ToUTF8Converter.h"

namespace tools::opcuacheck {

std::string shown(std::string_view cp866) {
    std::string plain(cp866);
    std::ranges::replace_if(
        plain, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
    return ToUTF8Converter::convertCP866ToUtf8_manual(plain);
}

std::string shownLine(const ConfigFile& file, std::int32_t line) {
    return shown(withoutBlanks(file.seenLine(line)));
}

}  // namespace tools::opcuacheck
