#pragma once

#include <string>

#include "tools/text/language.h"

namespace tools::opcuaview {

/// The language of everything that this process prints. `runProgram` sets it before it parses the
/// command line, and nothing changes it later; `describe` sets it too.
[[nodiscard]] Language language();
void setLanguage(Language language);

/// The text in that language: `say(in({"нет связи", "no connection"}))`.
[[nodiscard]] inline std::string in(const Text& text) {
    return text.in(language());
}

}  // namespace tools::opcuaview
