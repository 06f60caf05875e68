#include "platform/trends/standin/places.h"

#include <cstdlib>

namespace trends {

namespace {

std::string folder(const char* variable, const char* otherwise) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : otherwise;
}

}  // namespace

std::string definitionsFile() {
    return folder("SETTINGS", "/zrt/settings") + "/trends.ini";
}

std::string archiveFile() {
    return folder("VESKPATH", "/zrt") + "/trends/archive.db";
}

}  // namespace trends
