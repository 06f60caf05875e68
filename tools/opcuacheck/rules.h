#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/text/language.h"

namespace tools::opcuacheck {

enum class Severity { warning, error };

/// What can be wrong, in the order of the table in rules.cpp. Rules that mean the same to an
/// engineer share a code.
enum class RuleId {
    fileNotOpened,
    samplingShort,
    samplingBelowCycle,
    samplingLong,
    portMissing,
    portNoNumber,
    portOutside,
    attributeRefused,
    attributeMissing,
    sectionUnknown,
    sectionNear,
    sectionNone,
    keyUnknown,
    keyNear,
    keyElsewhere,
    encodingUtf8,
    encodingCp1251,
    fileHasNul,
    lineIgnored,
    headingUnclosed,
    keyRepeated,
    keyUnused,
    valueColon,
    switchWord,
    nameCut,
    nameBlanks,
    nameTrailingBlank,
    samplingNoNumber,
    cycleNotPositive,
    historyCountNoNumber,
    historyCountBounds,
    numberWithRest,
    listBadItem,
    pensBadItem,
    pensAll,
    pensEmpty,
    listEmpty,
    rangeReversed,
    listZero,
    listSemicolon,
    listAbsent,
    listBeyond,
    listTooLong,
    listNoEntries,
    entryNoComma,
    entryNumber,
    entryNameEmpty,
    entryMarker,
    entryPlace,
    entryUnused,
    entryRefused,
    entryTwice,
    entryTwiceLast,
    accessUnknown,
    accessReadOnly,
    sectionTextInFront,
    sectionTextBehind,
    sectionNoNumber,
    groupNameEmpty,
    groupNumberForm,
    groupPrefix,
    groupSameNumber,
    plotterSameNumber,
    plotterSameName,
    plotterNumber,
    tagTwice,
    treeTooLarge,
};

/// One row: the text of a finding. "{0}", "{1}" ... stand for the finding's arguments, names such as
/// "{first-port}" for the bounds of ConfigBounds.h and the sections of SectionNames.h.
struct Rule {
    RuleId id;
    std::string_view code;  ///< for scripts and docs/configuration.md
    Severity severity;
    Text message;  ///< what is wrong and its consequence
    Text advice;   ///< what to write instead
};

[[nodiscard]] const Rule& ruleOf(RuleId id);
/// Every row, for the list of codes.
[[nodiscard]] const std::vector<Rule>& allRules();

/// The pattern with its arguments, bounds and sections; "…" at a place without an argument.
[[nodiscard]] std::string filled(std::string_view pattern,
                                 const std::vector<std::string>& arguments);

}  // namespace tools::opcuacheck
