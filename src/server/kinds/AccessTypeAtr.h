#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "server/kinds/AccessTables.h"

/// The result for an access text.
struct AccessAnswer {
    std::string text;                     ///< as checkAccessRights answers
    const char* whenOverruled = nullptr;  ///< line for standard output if the text did not fit
};

/// Converts the access text of a configuration entry to the node's right. No state.
class AccessTypeAtr {
  public:
    /// The text without white space (as the C library's isspace defines it) at both ends.
    static std::string trim(const std::string& text);

    /// One of "OPC_READABLE", "OPC_WRITEABLE", "OPC_READABLE+OPC_WRITEABLE",
    /// "OPC_WRITEABLE+OPC_READABLE", or "Error" when the table does not hold the attribute.
    /// A text that does not fit the attribute's right yields the right itself, and a line on
    /// standard output.
    static std::string checkAccessRights(const std::string& text, int attributeNumber,
                                         const AccessTable& table);

    /// The same, but prints nothing.
    static AccessAnswer decideAccess(const std::string& text, int attributeNumber,
                                     const AccessTable& table);
};

/// Bits of a node's access level (OPC 10000-3, 8.57).
inline constexpr std::uint8_t kReadAccess = 1;
inline constexpr std::uint8_t kWriteAccess = 2;

/// Access level of an answer of checkAccessRights; 0 for "Error": no node.
std::uint8_t accessLevelOf(std::string_view answer);
