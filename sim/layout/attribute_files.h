#pragma once

#include <string>

namespace sim {

/// The two files that describe the location of numbered attributes to readers of the database. Both
/// contain the same entries in the same order; docs/attributes.md describes the format.

/// Bytes of "offatrs.dat": kind, bit, offset and name of every attribute.
[[nodiscard]] std::string offsetFile();

/// Bytes of "atributs.dat": the storage of every kind that the first file refers to.
[[nodiscard]] std::string kindFile();

/// The table of docs/attributes.md: number, field, kind and meaning for every type.
[[nodiscard]] std::string attributeTable();

}  // namespace sim
