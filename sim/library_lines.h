#pragma once

namespace sim {

/// From now on what the controller's libraries print (with printf, in CP866) is converted to UTF-8,
/// like this program's own lines, which go through std::cout. Call it once, before the first
/// library call.
void showLibraryLines();

}  // namespace sim
