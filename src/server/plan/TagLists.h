#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "server/config/Section.h"
#include "server/kinds/Kinds.h"

/// Tag numbers of one kind, sorted; the single number -1 means every tag.
using TagList = std::vector<std::int32_t>;
/// By VariableType.
using TagLists = std::array<TagList, kKinds.size()>;

/// Reads a section's keys "VA", "AV", "RV", "VD", "DV" into `lists`; a kind without a key keeps its
/// list.
void readTagLists(const Section& section, TagLists& lists);

/// Whether the list means every tag.
bool listsEveryTag(const TagList& list);
bool listsTag(const TagList& list, std::int32_t tagNumber);
