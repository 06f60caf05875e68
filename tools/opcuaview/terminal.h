#pragma once

#include <string>
#include <vector>

namespace tools::opcuaview {

struct TerminalSize {
    int rows;
    int columns;
    bool operator==(const TerminalSize&) const = default;
};

/// Whether standard output is a terminal.
[[nodiscard]] bool isTerminal();

/// The size of the terminal on standard output, 24 x 80 if it is unknown.
[[nodiscard]] TerminalSize terminalSize();

/// A line on standard error, after the name of the program. @param text  UTF-8
void say(const std::string& text);

/// Draws each frame at the same place of the terminal, without clearing the rest of it.
class Screen {
  public:
    Screen();
    ~Screen();  ///< leaves the last frame standing and the cursor below it
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// @param lines  none wider than the terminal, and fewer than its rows
    void draw(const std::vector<std::string>& lines);

    /// The next frame starts below the current contents, as after a change of the terminal's size.
    void startAnew() { drawn_ = 0; }

  private:
    std::size_t drawn_ = 0;  // lines of the current frame
};

/// From now on SIGINT and SIGTERM are only recorded. Call it once per process.
void catchStopSignals();

/// Whether one of them was received.
[[nodiscard]] bool stopRequested();

}  // namespace tools::opcuaview
