#pragma once

#include <string>

/// Virtual size of this process in MB (2^20 bytes).
/// @param statmPath  a file in the form of "/proc/self/statm": the size in pages comes first
/// @return pages x 4 KiB, whatever the machine's page size; 0 when the file cannot be read
[[nodiscard]] double get_vsz_mb(const std::string& statmPath = "/proc/self/statm");

/// Marks the places where a report of the process size was once wanted.
/// KEPT: writes nothing. Required by the interface.
void log_vsz(const std::string& label);
