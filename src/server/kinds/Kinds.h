#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "lib/bd_vesk/bdvstype.h"

/// Kind of an exported variable, as `UARTEXVariable::getType()` numbers it. The database counts its
/// types in another order (VariableKind::dbCode).
enum class VariableType : int { VA = 0, AV = 1, RV = 2, VD = 3, DV = 4 };

/// What distinguishes one exported kind from the others; everything else is shared code.
struct VariableKind {
    VariableType type;
    std::string_view word;          ///< in messages, and as key of the tag number lists
    std::uint8_t dbCode;            ///< database type code, 1 to 11
    std::string_view structPrefix;  ///< of getStructId()
    std::string_view nodePrefix;    ///< of getNodeId()
    std::size_t nameOffset;         ///< bytes, of POZ in the passport record
    /// Attribute that stands for the current value: a number written to it goes to attribute 0.
    /// 0: the kind has none.
    int currentValueAttribute;
};

// clang-format off
inline constexpr std::array<VariableKind, 5> kKinds{{
    {VariableType::VA, "VA", 1, "VA_", "VA.", offsetof(ANALOG, POZ),     29},
    {VariableType::AV, "AV", 2, "AV_", "AV.", offsetof(ANALOG_OUT, POZ),  0},
    {VariableType::RV, "RV", 3, "RV_", "RV.", offsetof(HAND_INP, POZ),    8},
    {VariableType::VD, "VD", 4, "VD_", "VD.", offsetof(DIS_FV, POZ),     27},
    {VariableType::DV, "DV", 5, "DV_", "DV.", offsetof(DIS_OUT, POZ),    20},
}};
// clang-format on

constexpr bool kindsInTypeOrder() {
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
        if (kKinds[i].type != static_cast<VariableType>(i)) return false;
    }
    return true;
}
static_assert(kindsInTypeOrder(), "kKinds is indexed by VariableType");

constexpr const VariableKind& kindOf(VariableType type) {
    return kKinds[static_cast<std::size_t>(type)];
}
