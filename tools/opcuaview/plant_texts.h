#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/client/item_list.h"
#include "tools/client/labels.h"
#include "tools/client/session.h"

/// What the plant calls a variable, as far as a server says so.
namespace tools::opcuaview {

struct PlantTexts {
    std::string name;     ///< designation and name of the tag, else the variable's description
    std::string unit;     ///< of the variable itself
    std::string tagUnit;  ///< of the tag
};

/// Whether a description says more than the names do: "VA_7.A29" below the tag "VA_7" does not.
[[nodiscard]] bool isTelling(std::string_view description, const Item& item);

/// Finds the texts of some variables, one entry for each in `texts`. The names and the unit of a tag
/// are texts beside the variable (`labelOf`); the unit of a variable is its property EngineeringUnits
/// (OPC 10000-8, 5.6.3). Takes a few requests, whose number grows with the number of tags.
[[nodiscard]] UA_StatusCode findPlantTexts(Session& session, const std::vector<const Item*>& items,
                                           std::vector<PlantTexts>& texts);

}  // namespace tools::opcuaview
