#pragma once

#include <string>

namespace tools {

enum class Language { ru, en };

/// A text for operators and engineers, UTF-8.
struct Text {
    const char* ru;
    const char* en;

    [[nodiscard]] std::string in(Language language) const {
        return language == Language::ru ? ru : en;
    }
};

}  // namespace tools
