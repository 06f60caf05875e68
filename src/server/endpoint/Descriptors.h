#pragma once

#include <cstddef>

// Descriptors of the process. A connection that finds none left is turned away at once, and the
// listening sockets stay open: the library would be notified of the same connection repeatedly,
// without a pause, and its client would hang; after other faults of accept it would close the
// socket for good. So accept itself is replaced (Descriptors.cpp).

/// Raises the soft limit as far as the hard limit allows, and keeps one descriptor back, with which
/// connections are turned away. Once, before the server listens.
/// @param wanted  a higher limit stays as it is
/// @return how many descriptors the process may have open
std::size_t provideDescriptors(std::size_t wanted);
