#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "jxotr/IHDA_BrowseConfig.h"

/// Hash for maps whose keys are the texts of node ids; a view of the text finds them without a
/// copy.
struct NodeIdHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
        return std::hash<std::string_view>{}(text);
    }
};
using NumberByNode = std::unordered_map<std::string, int, NodeIdHash, std::equal_to<>>;

/// The history callbacks' table of which plotter and pen a node shows. Filled on the main thread
/// while the historical tree is built; only read afterwards, so it needs no lock.
struct RTEXContext {
    std::uint64_t reserved = 0;  ///< not used; required by the interface
    IHDA_BrowseConfig browse;    ///< keeps the trend library open for the process's lifetime
    NumberByNode plotterByNode;
    NumberByNode penByNode;
};

/// The context of the process.
extern RTEXContext RtexContext;

/// The number of a node; 0, which no plotter and no pen has, when it is not there.
[[nodiscard]] int numberOfNode(const NumberByNode& numbers, std::string_view nodeId) noexcept;
