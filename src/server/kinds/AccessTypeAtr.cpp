#include "server/kinds/AccessTypeAtr.h"

#include <cctype>
#include <cstdio>
#include <initializer_list>
#include <string_view>

namespace {

struct Right {
    std::string_view name;                         ///< as in the access tables
    std::initializer_list<std::string_view> fits;  ///< texts that may stand in the configuration
    const char* whenOverruled;                     ///< line on standard output
    std::string_view answer;                       ///< for a text that does not fit
};

constexpr std::string_view kRead = "OPC_READABLE";
constexpr std::string_view kWrite = "OPC_WRITEABLE";
constexpr std::string_view kReadWrite = "OPC_READABLE+OPC_WRITEABLE";
constexpr std::string_view kError = "Error";
constexpr std::string_view kWriteRead = "OPC_WRITEABLE+OPC_READABLE";

constexpr std::initializer_list<std::string_view> kFitsRead = {kRead};
constexpr std::initializer_list<std::string_view> kFitsWrite = {kWrite};
constexpr std::initializer_list<std::string_view> kFitsBoth = {kReadWrite, kWriteRead, kRead,
                                                               kWrite};

// The blank at the end of the last line is required by the interface.
constexpr Right kRights[] = {
    {"R", kFitsRead, "COME IN R!\n", kRead},
    {"W", kFitsWrite, "COME IN W!\n", kWrite},
    {"RW", kFitsBoth, "COME IN RW! \n", kReadWrite},
};

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

std::string AccessTypeAtr::trim(const std::string& text) {
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && isSpace(text[begin]))
        ++begin;
    while (end > begin && isSpace(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

std::string AccessTypeAtr::checkAccessRights(const std::string& text, int attributeNumber,
                                             const AccessTable& table) {
    const AccessAnswer answer = decideAccess(text, attributeNumber, table);
    if (answer.whenOverruled != nullptr) std::fputs(answer.whenOverruled, stdout);
    return answer.text;
}

AccessAnswer AccessTypeAtr::decideAccess(const std::string& text, int attributeNumber,
                                         const AccessTable& table) {
    // KEPT: only the test for "default" uses the trimmed text. " OPC_READABLE" fits nothing, so the
    // table's right is used; and "default" is accepted even for attributes that are in no table.
    // Required by the interface.
    if (trim(text) == "default") return {std::string(kRead)};
    const auto entry = table.find(attributeNumber);
    if (entry == table.end()) return {std::string(kError)};

    for (const Right& right : kRights) {
        if (right.name != entry->second) continue;
        for (const std::string_view fitting : right.fits) {
            if (text == fitting) return {text};
        }
        return {std::string(right.answer), right.whenOverruled};
    }
    return {std::string(kError)};
}

std::uint8_t accessLevelOf(std::string_view answer) {
    if (answer == kRead) return kReadAccess;
    if (answer == kWrite) return kWriteAccess;
    if (answer == kError) return 0;
    return kReadAccess | kWriteAccess;
}
