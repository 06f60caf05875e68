#pragma once

namespace sim {

/// From here on what the controller's libraries print (by printf, in CP866) comes out as UTF-8, as
/// this program's own lines do, which go through std::cout. Once, before the first library call.
void showLibraryLines();

}  // namespace sim
