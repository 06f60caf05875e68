#pragma once

#include "tools/client/json.h"
#include "tools/text/language.h"

namespace tools::opcuaweb {

/// A text in both languages.
[[nodiscard]] inline Json inBoth(const Text& text) {
    return {{"ru", text.ru}, {"en", text.en}};
}

}  // namespace tools::opcuaweb
