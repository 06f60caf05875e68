#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

/// A key that was pressed.
struct Key {
    enum class Kind { none, text, up, down, pageUp, pageDown, home, end, enter, escape, erase };
    Kind kind = Kind::none;
    std::string text = {};  ///< one character, UTF-8
};

enum class Style { plain, heading, alarm, faint, changed, old, uncertain, bad };

/// The terminal as a full screen. What was on it comes back when the object goes.
class Screen {
  public:
    /// Call catchStopSignals() before.
    /// @return null if the terminal cannot do that: `problem` says why
    [[nodiscard]] static std::unique_ptr<Screen> open(std::string& problem);
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Waits for a key. Returns early on a signal.
    [[nodiscard]] Key read(std::chrono::milliseconds most);

    /// Begins a picture of the terminal's current size.
    [[nodiscard]] TerminalSize begin();
    /// @param text      printable UTF-8; what is beyond the edge is cut
    /// @param selected  drawn as the row under the cursor
    void put(int row, int column, const std::string& text, Style style, bool selected = false);
    /// Shows the picture.
    void end();

  private:
    Screen() = default;
    struct Handle;  // of the library
    std::unique_ptr<Handle> handle_;
};

}  // namespace tools::opcuaview
