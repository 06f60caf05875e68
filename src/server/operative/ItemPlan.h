#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "server/attributes/TagInfo.h"

/// What the configuration says of the value variables of one type, worked out once and applied to
/// each of its tags: refused entries are reported and left out here, names are converted.
struct ItemPlan {
    struct Item {
        TagInfo info;
        std::string nameUtf8;
        std::string idTail;  ///< of the node id, behind the structure id: ".<name>.A<number>"
        std::string descriptionTail;  ///< behind the structure id: ".A<number>"
    };
    std::vector<Item> items;
};

/// By published type (its folder id), mode and group.
using ItemPlans = std::map<std::tuple<unsigned, std::string, int>, ItemPlan>;
