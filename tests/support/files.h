#pragma once

#include "tests/support/basics.h"

inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return (std::ostringstream() << file.rdbuf()).str();
}

/// Makes missing folders.
inline void writeFile(const std::string& path, std::string_view bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}
