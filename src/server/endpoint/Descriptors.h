#pragma once

#include <cstddef>

// Descriptors of the process. When none is left, a new connection is turned away at once, and the
// listening sockets stay open. The library alone would be notified of the same connection again and
// again, without a pause, while its client hangs; after other faults of accept it would close the
// listening socket permanently. So accept itself is replaced (Descriptors.cpp).

/// Raises the soft limit as far as the hard limit allows, and keeps one descriptor back, which
/// serves to turn connections away. Call it once, before the server listens.
/// @param wanted  a higher limit stays as it is
/// @return how many descriptors the process may have open
std::size_t provideDescriptors(std::size_t wanted);
