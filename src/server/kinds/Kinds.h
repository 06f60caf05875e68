#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "lib/bd_vesk/bdvstype.h"
#include "server/kinds/AccessTables.h"

// The kinds of variables that the server exports, with all their numberings. docs/architecture.md
// describes how to add one.
//
// The database and the OPC UA side name three of them differently:
//
//   VA  analog input     DB_VA
//   AV  analog output    DB_AV  a controller's loop
//   RV  manual input     DB_HI  published as RVV (number), RVS (text) and RVL (logical)
//   VD  discrete input   DB_DI
//   DV  discrete output  DB_DO

// ---- Kinds -------------------------------------------------------------------------------------

/// Kind of an exported variable, as `UARTEXVariable::getType()`, AttrTypeMsg and the trend system
/// number it; the database's own code is VariableKind::dbCode.
enum class VariableType : int { VA = 0, AV = 1, RV = 2, VD = 3, DV = 4 };

/// What distinguishes one exported kind from the others; everything else is shared code.
struct VariableKind {
    VariableType type;
    std::string_view word;          ///< in messages, and as key of the tag number lists
    std::size_t startIndex;         ///< place in the order in which start-up makes the objects
    DB_TYPE dbCode;                 ///< the database's type code
    std::string_view structPrefix;  ///< of getStructId()
    std::string_view nodePrefix;    ///< of getNodeId()
    std::size_t nameOffset;         ///< bytes, of POZ in the passport record
    /// Attribute that contains the current value: a number written to it goes to attribute 0. 0:
    /// the kind has none.
    int currentValueAttribute;
};

#define KIND(word, startIndex, dbCode, nameOffset, currentValueAttribute)                \
    {                                                                                    \
        VariableType::word, #word, startIndex, dbCode, #word "_", #word ".", nameOffset, \
            currentValueAttribute                                                        \
    }
// clang-format off
inline constexpr auto kKinds = std::to_array<VariableKind>({
    //   start          POZ                        value
    KIND(VA, 0, DB_VA, offsetof(ANALOG, POZ),     29),
    KIND(AV, 2, DB_AV, offsetof(ANALOG_OUT, POZ),  0),
    KIND(RV, 1, DB_HI, offsetof(HAND_INP, POZ),    8),
    KIND(VD, 3, DB_DI, offsetof(DIS_FV, POZ),     27),
    KIND(DV, 4, DB_DO, offsetof(DIS_OUT, POZ),    20),
});
// clang-format on
#undef KIND

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

/// The kinds in the order in which start-up makes their objects, which is that of their nodes.
inline constexpr auto kStartOrder = [] {
    std::array<VariableType, kKinds.size()> order{};
    for (const VariableKind& kind : kKinds) {
        order[kind.startIndex] = kind.type;
    }
    return order;
}();

constexpr bool eachKindStarts() {
    for (const VariableKind& kind : kKinds) {
        if (kStartOrder[kind.startIndex] != kind.type) return false;
    }
    return true;
}
static_assert(eachKindStarts(), "two kinds have the same startIndex");

// ---- Published types ---------------------------------------------------------------------------

/// One of the types that the address space shows: the kinds, and in place of RV its three
/// sub-kinds, distinguished by the `var_type` of the variable's passport.
struct PublishedType {
    VariableType kind;
    int rvType;                   ///< getRVType(); 0 for every kind but RV
    std::uint32_t folderId;       ///< numeric node id of its folder in the server's namespace
    std::string_view folderName;  ///< browse and display name of the folder
    std::string_view itemText;    ///< appended to the path prefix of its value variables
    std::string_view marker;      ///< the keys of its attribute entries begin with it
    const AccessTable& access;
};

// One number and one word name the folder ("1_VA"), the items (".1_VA.") and the keys ("Type1.").
#define PUBLISHED(kind, rvType, folderId, number, word, access)                             \
    {                                                                                       \
        VariableType::kind, rvType, folderId, #number "_" #word, "." #number "_" #word ".", \
            "Type" #number ".", access                                                      \
    }
// clang-format off
/// In the order in which the folders are made.
inline constexpr auto kPublishedTypes = std::to_array<PublishedType>({
    //   sub-kind, folder id
    PUBLISHED(AV, 0,  2,  3, AV,  tableAccessesAV),
    PUBLISHED(VA, 0,  1,  1, VA,  tableAccessesVA),
    PUBLISHED(DV, 0,  5,  4, DV,  tableAccessesDV),
    PUBLISHED(VD, 0,  4,  2, VD,  tableAccessesVD),
    PUBLISHED(RV, 0,  9, 50, RVV, tableAccessesRV),
    PUBLISHED(RV, 1, 10, 51, RVS, tableAccessesRV),
    PUBLISHED(RV, 2, 11, 52, RVL, tableAccessesRV),
});
// clang-format on
#undef PUBLISHED

/// The row of a variable, by `getType()` and `getRVType()`; null for numbers that name no type (a
/// manual input whose passport holds another `var_type` is not published).
const PublishedType* findPublishedType(int type, int rvType);
