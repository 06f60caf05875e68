#pragma once

#include "server/values/VariableOfKind.h"

/// RV: manual input, one database type with three layouts (see getRVType()).
class VariableTypeRV final : public VariableOfKind {
  public:
    VariableTypeRV() : VariableOfKind(kindOf(VariableType::RV), objectCounterRV++) {}

    int getRVType() const override { return rvType_; }

    /// Also copies the layout that the passport names.
    void createVarObj(CVeskBDSh& db, void* passport) override;

    inline static int objectCounterRV = 0;  ///< objects made so far; main thread only

  private:
    int rvType_ = 0;  // constant after start-up
};
