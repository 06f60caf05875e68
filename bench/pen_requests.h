#pragma once

#include <cstddef>

#include "bench/ua_connection.h"

namespace bench {

/// A raw history read of `count` pens of plotter 1, from pen `first` on, over the whole archive of
/// a measurement.
PreparedRequest prepareHistoryRead(UaConnection& connection, std::size_t first, std::size_t count);

}  // namespace bench
