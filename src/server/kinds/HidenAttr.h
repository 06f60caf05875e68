#pragma once

#include "server/kinds/AccessTables.h"

/// Decides which attributes may be exported. No state. The name is spelt as the interface requires.
class HidenAttr {
  public:
    /// True when the table holds the attribute; false for an empty table.
    static bool checkStatusAttr(int attributeNumber, const AccessTable& table);
};
