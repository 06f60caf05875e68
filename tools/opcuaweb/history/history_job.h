#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tools/opcuaweb/opcua/asker.h"
#include "tools/opcuaweb/streams/text_pipe.h"

namespace tools::opcuaweb {

struct HistoryQuestion {
    std::string node;  ///< a valid node id
    std::int64_t fromMs = 0;
    std::int64_t toMs = 0;  ///< both belong to the range
    std::size_t width = 1;  ///< pixels; columns only
};

/// Reads a history of any length, one answer of the server a step, and puts lines of JSON into the pipe:
/// columns with progress, at last the end with a problem or null.
[[nodiscard]] Asker::Job columnsJob(const HistoryQuestion& question,
                                    std::shared_ptr<TextPipe> pipe);

/// The same as a table of comma-separated values: time (UTC), value, quality; a line that begins with
/// "#" at its end if the history was not read to its end.
[[nodiscard]] Asker::Job csvJob(const HistoryQuestion& question, std::shared_ptr<TextPipe> pipe);

}  // namespace tools::opcuaweb
