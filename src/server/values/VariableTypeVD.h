#pragma once

#include "server/values/VariableOfKind.h"

/// VD: discrete input.
class VariableTypeVD final : public VariableOfKind {
  public:
    VariableTypeVD() : VariableOfKind(kindOf(VariableType::VD), objectCounterVD++) {}

    inline static int objectCounterVD = 0;  ///< objects made so far; main thread only
};
