#pragma once

#include <span>
#include <string_view>

namespace tools::opcuaweb {

/// One file of the page, embedded by cmake/EmbedFiles.cmake.
struct Asset {
    std::string_view path;  ///< "/app/main.js"
    std::string_view type;  ///< "text/javascript; charset=utf-8"
    std::string_view etag;  ///< hash of the bytes, with its quotation marks
    std::string_view bytes;
};

[[nodiscard]] std::span<const Asset> assets();

}  // namespace tools::opcuaweb
