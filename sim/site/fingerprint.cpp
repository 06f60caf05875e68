#include "sim/site/fingerprint.h"

#include <fstream>
#include <iterator>

namespace sim {

Fingerprint fingerprintOf(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : bytes) {
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3U;
    }
    return {bytes.size(), hash};
}

std::optional<std::string> readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes{std::istreambuf_iterator<char>(in), {}};
    if (in.bad()) return std::nullopt;
    return bytes;
}

}  // namespace sim
