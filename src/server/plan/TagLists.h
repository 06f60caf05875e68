#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "server/config/Section.h"
#include "server/kinds/Kinds.h"

/// Tag numbers of one kind, sorted; the single number -1 means every tag.
using TagList = std::vector<std::int32_t>;
/// By VariableType.
using TagLists = std::array<TagList, kKinds.size()>;

/// The kind whose tags a key of this name lists; null for any other key.
const VariableKind* kindListedBy(std::string_view key);

/// Reads a section's lists into `lists`; a kind without one keeps what it has.
void readTagLists(const Section& section, TagLists& lists);

/// The lists of the flat tree.
TagLists flatTagLists(const std::vector<Section>& sections);

/// Whether the list means every tag.
bool listsEveryTag(const TagList& list);
bool listsTag(const TagList& list, std::int32_t tagNumber);
