#pragma once

/// Stays here until a signal ends the process: no exit, no message, no processor time. This is how
/// the server ends a start that cannot succeed; a restart would fail in the same way and flood the
/// journal.
[[noreturn]] void sleepForever() noexcept;
