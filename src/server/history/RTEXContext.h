#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "jxotr/IHDA_BrowseConfig.h"

/// Numbers by the text of a node id; found by a view of the text, without a copy.
struct NodeIdHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
        return std::hash<std::string_view>{}(text);
    }
};
using NumberByNode = std::unordered_map<std::string, int, NodeIdHash, std::equal_to<>>;

/// What the history callbacks know: which plotter and pen a node shows. Filled while the historical
/// tree is built, on the main thread; only read afterwards, so that it needs no lock.
struct RTEXContext {
    std::uint64_t reserved = 0;  ///< keeps the members behind it at their places; not used
    IHDA_BrowseConfig browse;    ///< holds the trend library open as long as the process lives
    NumberByNode plotterByNode;
    NumberByNode penByNode;
};

/// The context of the process.
extern RTEXContext RtexContext;

/// The number of a node; 0, which no plotter and no pen has, when it is not there.
[[nodiscard]] int numberOfNode(const NumberByNode& numbers, std::string_view nodeId) noexcept;
