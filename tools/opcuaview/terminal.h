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

/// Whether the keyboard, too, is a terminal's.
[[nodiscard]] bool hasKeyboard();

/// The size of the terminal on standard output, 24 x 80 if it is unknown.
[[nodiscard]] TerminalSize terminalSize();

/// A line on standard error, after the name of the program. @param text  UTF-8
void say(const std::string& text);

/// While it lives, messages wait instead of appearing in the middle of a full screen.
class HeldMessages {
  public:
    HeldMessages();
    ~HeldMessages();  ///< prints those that have waited
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;
};

/// From now on SIGINT, SIGTERM, SIGHUP and SIGQUIT are only recorded. Call it once per process.
void catchStopSignals();

/// Whether one of them was received, or requestStop() was called. For any thread.
[[nodiscard]] bool stopRequested();

/// As if a signal had been received.
void requestStop();

}  // namespace tools::opcuaview
