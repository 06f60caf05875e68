#include "server/kinds/AccessTypeAtr.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace {

constexpr unsigned bits(Access right) {
    return static_cast<unsigned>(right);
}

// By the bits of the table's right. The blank at the end of the last line is required by the
// interface.
constexpr std::array<const char*, 4> kOverruledLines = {"", "COME IN R!\n", "COME IN W!\n",
                                                        "COME IN RW! \n"};

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
    const AccessDecision decision = decideAccess(text, attributeNumber, table);
    printOverruled(decision);
    // Both orders of the two words request the same right; the text is returned as given.
    if (decision.right == Access::readWrite && !decision.overruled) return text;
    return std::string(accessTextOf(decision.right));
}

AccessDecision AccessTypeAtr::decideAccess(const std::string& text, int attributeNumber,
                                           const AccessTable& table) {
    // KEPT: only the test for "default" uses the trimmed text. " OPC_READABLE" fits nothing, so the
    // table's right is used; and "default" is accepted even for attributes that are in no table.
    // Required by the interface.
    if (trim(text) == "default") return {Access::read};
    const auto entry = table.find(attributeNumber);
    if (entry == table.end() || entry->second == Access::none) return {};

    const auto* const asked = std::ranges::find(kAccessTexts, text, &AccessText::text);
    const bool fits =
        asked != kAccessTexts.end() && (bits(asked->right) & ~bits(entry->second)) == 0;
    return fits ? AccessDecision{asked->right} : AccessDecision{entry->second, true};
}

void AccessTypeAtr::printOverruled(const AccessDecision& decision) {
    if (decision.overruled) std::fputs(kOverruledLines.at(bits(decision.right)), stdout);
}

std::string_view accessTextOf(Access right) {
    const auto* const row = std::ranges::find(kAccessTexts, right, &AccessText::right);
    return row != kAccessTexts.end() ? row->text : "Error";
}
