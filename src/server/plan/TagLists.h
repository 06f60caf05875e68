#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "server/config/Section.h"
#include "server/kinds/VariableKind.h"

/// Tag numbers of one kind, sorted; the one number -1 stands for every tag.
using TagList = std::vector<std::int32_t>;
/// By VariableType.
using TagLists = std::array<TagList, kKinds.size()>;

/// Reads a section's keys "VA", "AV", "RV", "VD", "DV" into `lists`; a kind without a key keeps
/// what it has.
void readTagLists(const Section& section, TagLists& lists);

/// Whether the list stands for every tag.
bool listsEveryTag(const TagList& list);
bool listsTag(const TagList& list, std::int32_t tagNumber);
