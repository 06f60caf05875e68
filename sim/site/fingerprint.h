#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

/// Size and checksum of a file's bytes (FNV-1a, 64 bits): enough to notice that somebody edited it.
struct Fingerprint {
    std::uint64_t size = 0;
    std::uint64_t hash = 0;

    friend bool operator==(const Fingerprint&, const Fingerprint&) = default;
};

[[nodiscard]] Fingerprint fingerprintOf(std::string_view bytes);

/// The whole file; nothing when it cannot be read.
[[nodiscard]] std::optional<std::string> readFile(const std::filesystem::path& file);

}  // namespace sim
