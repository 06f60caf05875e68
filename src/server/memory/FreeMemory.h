#pragma once

/// Gives part of the memory that is free, but still the process's, back to the system: called once
/// a second, it makes the process small again within a minute or so after a load. One call takes
/// some ms at most. With the C library's allocator it does nothing. Server thread.
void returnFreeMemory() noexcept;
