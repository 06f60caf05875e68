#include "server/config/TrimString.h"

std::string TrimString(const std::string& value) {
    return value.substr(0, value.find_first_of(":;"));
}
