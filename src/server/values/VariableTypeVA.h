#pragma once

#include "server/values/VariableOfKind.h"

/// VA: analog input.
class VariableTypeVA final : public VariableOfKind {
  public:
    VariableTypeVA() : VariableOfKind(kindOf(VariableType::VA), objectCounterVA++) {}

    inline static int objectCounterVA = 0;  ///< objects made so far; main thread only
};
