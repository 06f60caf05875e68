#pragma once

#include <array>
#include <string>
#include <string_view>

#include "server/kinds/AccessTables.h"

/// The access texts of the configuration, and the right that each requests.
struct AccessText {
    std::string_view text;
    Access right;
};
inline constexpr std::array<AccessText, 4> kAccessTexts{{
    {"OPC_READABLE", Access::read},
    {"OPC_WRITEABLE", Access::write},
    {"OPC_READABLE+OPC_WRITEABLE", Access::readWrite},
    {"OPC_WRITEABLE+OPC_READABLE", Access::readWrite},
}};

/// The result for an access text.
struct AccessDecision {
    Access right = Access::none;  ///< none: no node, the attribute is not in the table
    bool overruled = false;       ///< the text did not fit, so the attribute has the table's right
};

/// Converts the access text of a configuration entry to the node's right. No state.
class AccessTypeAtr {
  public:
    /// The text without white space (as the C library's isspace defines it) at both ends.
    static std::string trim(const std::string& text);

    /// The same as decideAccess, as text: one of kAccessTexts, or "Error" for no right. Prints the
    /// line of an overruled text.
    static std::string checkAccessRights(const std::string& text, int attributeNumber,
                                         const AccessTable& table);

    /// A text fits if it requests nothing that the table does not grant.
    static AccessDecision decideAccess(const std::string& text, int attributeNumber,
                                       const AccessTable& table);

    /// The line on standard output for an overruled text; nothing for one that fits.
    static void printOverruled(const AccessDecision& decision);
};

/// The first of kAccessTexts with this right; "Error" for none.
std::string_view accessTextOf(Access right);
