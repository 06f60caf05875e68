#pragma once

#include "tools/opcuaview/exit_status.h"
#include "tools/opcuaview/screen.h"
#include "tools/opcuaview/watch_loop.h"

namespace tools::opcuaview {

/// Shows the live table until the operator closes it or the loop ends. A thread of its own talks to
/// the server, so that the table answers keys whatever the server does.
///
/// @param screen  closed before this returns or throws, after which messages are printed
[[nodiscard]] ExitStatus watchTable(const WatchOptions& options, std::unique_ptr<Screen> screen,
                                    WatchTotals& totals);

}  // namespace tools::opcuaview
