#pragma once

#include <cstdint>
#include <string>

/// Reads the two values that the server needs from the controller's settings file. The file belongs
/// to all processes of the controller and is scanned line by line, not with the reader of the
/// server's own configuration. Nothing is reported: a value that cannot be read keeps its last
/// value. Main thread.
class VeskkntrReader {
  public:
    /// Key "Number_kontr"; 0 until a number was read. The first line that contains the key and
    /// after it an "=" decides, wherever in the line the key is and whether or not a number
    /// follows.
    std::int32_t getNumKontr(const std::string& path);
    /// Key "CycleTime", milliseconds; 100 until a number was read. The same search.
    std::int32_t getCycleTime(const std::string& path);

    [[nodiscard]] std::int32_t getNumKontr() const noexcept { return numKontr_; }
    [[nodiscard]] std::int32_t getCycleTime() const noexcept { return cycleTimeMs_; }

  private:
    std::int32_t numKontr_ = 0;
    std::int32_t cycleTimeMs_ = 100;
};
