#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "lib/rolling2/rol_shared.h"
#include "tools/text/language.h"
#include "tools/zrtjournal/saved_copies.h"

namespace tools::zrtjournal {

/// A message as one line of text, without a line feed: local time, dictionary and code, variable,
/// text or arguments.
/// @param designationCp866  of the message's variable; empty if it is unknown
[[nodiscard]] std::string textLine(const SRolMessage& message, const std::string& designationCp866,
                                   Language language);

/// A message as a JSON object on one line; times are UTC. The text is null for codes without one.
[[nodiscard]] std::string jsonLine(const SRolMessage& message, const std::string& designationCp866,
                                   Language language);

/// What is wrong with a copy, or that it is good.
[[nodiscard]] std::string stateOf(const SavedCopy& copy, Language language);

/// Prints the state of both copies, and which one is shown.
/// @param shown  index, 2 for none
void printCopies(std::ostream& out, const SavedCopies& copies, std::size_t shown,
                 Language language);
/// The same, as one JSON object per line.
void printCopiesJson(std::ostream& out, const SavedCopies& copies, std::size_t shown,
                     Language language);

}  // namespace tools::zrtjournal
