#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// What the fuzz targets share. A target cuts its input with FuzzedDataProvider: numbers come from
// the end of the input, bytes and texts from its beginning.

/// A target's finding: the input that leads here is kept.
inline void require(bool holds) {
    if (!holds) std::abort();
}

/// A file in memory, for readers that take a path.
class MemoryFile {
  public:
    MemoryFile(const void* data, std::size_t size)
        : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        require(write(descriptor_, data, size) == static_cast<ssize_t>(size));
    }
    explicit MemoryFile(std::string_view bytes) : MemoryFile(bytes.data(), bytes.size()) {}
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};

/// Whether no number in the text has more than four digits. Ranges are expanded in full, so longer
/// ones only take time and memory.
inline bool hasShortNumbersOnly(std::string_view text) {
    std::size_t digits = 0;
    return std::all_of(text.begin(), text.end(), [&digits](char c) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        return digits <= 4;
    });
}
