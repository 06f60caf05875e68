#include "tools/opcuaweb/basics/random_id.h"

#include <algorithm>
#include <random>
#include <string_view>

namespace tools::opcuaweb {

std::string randomId() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::random_device source;  // the system's own generator
    std::uniform_int_distribution<std::size_t> digit(0, kDigits.size() - 1);
    std::string id(32, '0');
    std::ranges::generate(id, [&] { return kDigits[digit(source)]; });
    return id;
}

}  // namespace tools::opcuaweb
