#pragma once

#include "server/values/VariableOfKind.h"

/// DV: discrete output.
class VariableTypeDV final : public VariableOfKind {
  public:
    VariableTypeDV() : VariableOfKind(kindOf(VariableType::DV), objectCounterDV++) {}

    inline static int objectCounterDV = 0;  ///< objects made so far; main thread only
};
