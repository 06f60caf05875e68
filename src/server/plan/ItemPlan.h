#pragma once

#include <functional>
#include <string>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/kinds/AccessTypeAtr.h"
#include "server/kinds/Kinds.h"
#include "server/plan/TagInfo.h"

/// The configured value variables of one type, evaluated once and applied to each of its tags:
/// refused entries have been reported and left out, and names are converted.
struct ItemPlan {
    struct Item {
        TagInfo info;
        AccessDecision access;  ///< never without a right: such an item gets no node
        std::string nameUtf8;
        std::string idTail;  ///< of the node id, after the structure id: ".<name>.A<number>"
        std::string descriptionTail;  ///< after the structure id: ".A<number>"
    };
    std::vector<Item> items;
};

/// The plan of one published type. Attributes that the database lacks are noted in
/// `missAttrManager`. An entry whose attribute may not be exported is reported as configuration
/// error 4, once per line (`usedLines`), and left out. Main thread.
/// @param source  where the entries come from
ItemPlan makeItemPlan(std::vector<TagInfo> entries, const PublishedType& published,
                      const EntrySource& source);

/// Whether the access table holds the attribute and, for logical manual inputs, the class table
/// does not bar it.
bool mayBeExported(const PublishedType& published, int attributeNumber);

/// Puts an entry's own key into its `missing` when its attribute may be exported but the database
/// does not describe it. Attributes that may not be exported are refused elsewhere.
/// @param isDescribed  whether the database has an attribute of this number
void noteMissing(std::vector<TagInfo>& entries, const PublishedType& published,
                 const std::function<bool(int)>& isDescribed);
