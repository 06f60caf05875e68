#pragma once

/// Waits until a signal ends the process: no exit, no message, no processor time. The server does
/// this after a start that cannot succeed. Required by the interface.
[[noreturn]] void sleepForever() noexcept;
