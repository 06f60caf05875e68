#pragma once

#include "server/attributes/AccessTables.h"

/// Tells which attributes may be exported. No state. The spelling of the name is meant.
class HidenAttr {
  public:
    /// True when the table holds the attribute; false for an empty table.
    static bool checkStatusAttr(int attributeNumber, const AccessTable& table);
};
