#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "server/kinds/AccessTables.h"
#include "server/kinds/VariableKind.h"

/// One of the seven types that the address space shows. Manual input (RV) is one database type but
/// three published ones, distinguished by the `var_type` of the variable's passport.
struct PublishedType {
    VariableType kind;
    int rvType;                   ///< getRVType(); 0 for every kind but RV
    std::uint32_t folderId;       ///< numeric node id of its folder in the server's namespace
    std::string_view folderName;  ///< browse and display name of the folder
    std::string_view itemText;    ///< appended to the path prefix of its value variables
    std::string_view marker;      ///< the keys of its attribute entries begin with it
    const AccessTable& access;
};

/// In the order in which the folders are made.
extern const std::array<PublishedType, 7> kPublishedTypes;

/// The row of a variable, by `getType()` and `getRVType()`; null for numbers that name no type (a
/// manual input whose passport holds another `var_type` is not published).
const PublishedType* findPublishedType(int type, int rvType);
