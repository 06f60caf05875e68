#pragma once

#include "server/values/VariableOfKind.h"

/// AV: analog output, the controllers' loops.
class VariableTypeAV final : public VariableOfKind {
  public:
    VariableTypeAV() : VariableOfKind(kindOf(VariableType::AV), objectCounterAV++) {}

    /// As for every kind, but an exception and an empty list are reported on standard error.
    int getCountVarFormObj(int number) override;

    inline static int objectCounterAV = 0;  ///< objects made so far; main thread only
};
