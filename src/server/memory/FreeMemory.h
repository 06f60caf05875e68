#pragma once

/// Returns part of the memory that is free, but still held by the process, to the system. Called
/// once a second, it makes the process small again within about a minute after a load. One call
/// takes at most some ms. With the C library's allocator it does nothing. Server thread.
void returnFreeMemory() noexcept;
