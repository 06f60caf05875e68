#pragma once

#include <functional>
#include <string>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/kinds/PublishedType.h"
#include "server/plan/TagInfo.h"

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

/// The plan of one published type. Names that the database lacks go to `missAttrManager`; an entry
/// whose attribute may not be exported is reported as configuration error 4, once for its line
/// (`usedLines`), and left out. Main thread.
/// @param source  where the entries were taken from
ItemPlan makeItemPlan(std::vector<TagInfo> entries, const PublishedType& published,
                      const EntrySource& source);

/// Whether the access table holds the attribute and, for logical manual inputs, the class table
/// does not bar it.
bool mayBeExported(const PublishedType& published, int attributeNumber);

/// Puts an entry's own key into its `missing` when its attribute may be exported but the database
/// does not describe it. One that may not be is refused, whatever the database has.
/// @param isDescribed  whether the database has an attribute of this number
void noteMissing(std::vector<TagInfo>& entries, const PublishedType& published,
                 const std::function<bool(int)>& isDescribed);
