#pragma once

#include <string>

#include "server/attributes/AccessTables.h"

/// Turns the access text of a configuration entry into the right that the node gets. No state.
class AccessTypeAtr {
  public:
    /// Without white space (of the C library's isspace) at both ends.
    static std::string trim(const std::string& text);

    /// One of "OPC_READABLE", "OPC_WRITEABLE", "OPC_READABLE+OPC_WRITEABLE",
    /// "OPC_WRITEABLE+OPC_READABLE", or "Error" when the table does not hold the attribute.
    /// A text that does not fit the attribute's right yields the right itself, and a line on
    /// standard output.
    static std::string checkAccessRights(const std::string& text, int attributeNumber,
                                         const AccessTable& table);
};
