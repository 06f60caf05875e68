#pragma once

#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the fuzz targets share, with the headers that nearly each of them needs. A target cuts its
// input with FuzzedDataProvider: numbers come from the end of the input, bytes and texts from its
// beginning.

/// Aborts if the condition does not hold: a finding, whose input is kept.
inline void require(bool holds) {
    if (!holds) std::abort();
}

/// Puts the bytes into a file, always the same one, for readers that take a path. The sandbox keeps
/// it in memory.
inline const std::string& inputFile(const void* data, std::size_t size) {
    static const std::string path = "/zrt/input";
    static const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    require(pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    require(ftruncate(file, static_cast<off_t>(size)) == 0);
    // Sets a new modification time for readers that check it: the clock's steps are too long.
    static timespec changed{};
    ++changed.tv_sec;
    require(futimens(file, std::array{changed, changed}.data()) == 0);
    return path;
}

/// Whether no number in the text has more than `most` digits. Ranges are expanded in full, so
/// longer numbers only take time and memory.
inline bool hasShortNumbersOnly(std::string_view text, std::size_t most) {
    std::size_t digits = 0;
    return std::all_of(text.begin(), text.end(), [&digits, most](char c) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        return digits <= most;
    });
}
