#include "tools/opcuaview/language.h"

namespace tools::opcuaview {

namespace {

Language chosen = Language::ru;

}  // namespace

Language language() {
    return chosen;
}

void setLanguage(Language language) {
    chosen = language;
}

}  // namespace tools::opcuaview
