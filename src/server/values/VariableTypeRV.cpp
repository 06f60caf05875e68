#include "server/values/VariableTypeRV.h"

#include <cstdint>

void VariableTypeRV::createVarObj(CVeskBDSh& db, void* passport) {
    VariableOfKind::createVarObj(db, passport);
    if (passport == nullptr) return;
    rvType_ = static_cast<const std::uint8_t*>(passport)[offsetof(HAND_INP, var_type)];
}
