#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tools/opcuaweb/basics/clock.h"
#include "tools/opcuaweb/opcua/asker.h"
#include "tools/opcuaweb/tree/tree_walk.h"

namespace tools::opcuaweb {

/// All variables of the server at one moment. Immutable.
struct TreeRows {
    std::vector<Row> rows;
    std::vector<std::string> search;  ///< node id and item in lower case, for each row
    bool complete = false;
};

/// Knows all variables for search and overview: walks the tree after each connect, between the
/// other questions. Until the walk is done, the former one counts.
class TreeIndex {
  public:
    /// The walk as a background job.
    [[nodiscard]] Asker::Job job();

    /// Null before the first walk is done.
    [[nodiscard]] std::shared_ptr<const TreeRows> rows() const;
    /// Variables found so far by the walk that is on its way, or by the last one.
    [[nodiscard]] std::size_t counted() const;

    /// Rows that contain every word of the text, ignoring case.
    [[nodiscard]] Json search(const std::string& text, std::size_t limit) const;
    /// Variables with a history, by folder.
    [[nodiscard]] Json pens() const;

  private:
    Asker::Step step(Session* session);
    void finish();

    std::optional<TreeWalk> walk_;  // the asking thread's
    bool current_ = false;          // likewise: the last walk belongs to this connection
    Clock::time_point nextTry_;     // likewise
    mutable std::mutex mutex_;      // guards the two below
    std::shared_ptr<const TreeRows> rows_;
    std::size_t counted_ = 0;
};

}  // namespace tools::opcuaweb
