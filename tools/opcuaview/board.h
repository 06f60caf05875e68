#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tools/opcuaview/rows.h"
#include "tools/opcuaview/trend.h"

namespace tools::opcuaview {

/// What the thread that reads and the thread that draws the table share.
struct Board {
    std::mutex mutex;  ///< guards all below

    // Written by the thread that reads.
    std::vector<Row> rows;
    unsigned texts = 0;           ///< rises with each change of the rows or their texts
    unsigned readings = 0;        ///< rises with each change of their readings
    bool complete = true;         ///< false: the server has more variables
    std::string state;            ///< what is going on in place of reading; empty: values are read
    bool lost = false;            ///< there is no connection
    UA_DateTime serverAhead = 0;  ///< the server's clock minus this machine's, 100 ns ticks
    std::shared_ptr<const TrendPicture> trend;  ///< null if there is none

    // Written by the thread that draws.
    std::vector<std::size_t> visible;  ///< indexes of the rows on the screen
};

}  // namespace tools::opcuaview
