#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lib/bd_vesk/bdvstype.h"
#include "server/kinds/Kinds.h"

namespace tools::opcuacheck {

/// What is known about the controller's database without a running one. Everything may be unknown.
struct Database {
    /// Variables of each kind, by VariableType.
    std::array<std::optional<int>, kKinds.size()> counts;
    /// Numbers of the manual inputs that are texts and switches, sorted; the others are numbers.
    /// Without a value nothing is known about any of them.
    std::optional<std::array<std::vector<std::int32_t>, 3>> manualInputs;
    /// Value type of each attribute, from attribute 1 on, by VariableType; `none` for one that
    /// cannot be read.
    std::optional<std::array<std::vector<TYPE_VAL>, kKinds.size()>> attributes;

    [[nodiscard]] const std::optional<int>& countOf(VariableType kind) const {
        return counts[static_cast<std::size_t>(kind)];
    }
    /// getRVType() of a variable: 0 for all kinds but manual inputs. None where it is not known.
    [[nodiscard]] std::optional<int> rvTypeOf(VariableType kind, int tag) const;
};

/// Reads "va=120,rv=8". @return what is wrong with the text; empty if nothing is
[[nodiscard]] std::string readCounts(const std::string& text, Database& database, bool russian);

/// Reads offatrs.dat and atributs.dat in `folder`.
/// @return what is wrong; empty if nothing is. Attributes before the damage are kept.
[[nodiscard]] std::string readAttributeFiles(const std::string& folder, Database& database,
                                             bool russian);

/// Stands for the type of an attribute without a value.
inline constexpr const char* kNoType = "—";

/// The name of the OPC UA type of a published value; kNoType for `none`.
[[nodiscard]] const char* publishedTypeName(TYPE_VAL type);

}  // namespace tools::opcuacheck
