#pragma once

#include <chrono>
#include <string>

/// The server's own log: one line per event, UTF-8, no buffering between lines, no limit, no
/// rotation. A log that cannot be opened loses its lines silently; the server runs on. Main thread.
class LogControllerWriter {
  public:
    using Clock = std::chrono::system_clock::time_point (*)() noexcept;

    /// The controller's log, with the system clock.
    LogControllerWriter();
    /// @param clock  called once per line; must stay callable as long as the writer is used
    LogControllerWriter(std::string path, Clock clock);

    /// Appends local time, ": ", the text and a line feed, in one write. The file is made when
    /// missing.
    /// @param text  UTF-8; a line feed in it is written as a blank, so that a line stays one line
    void writeLogToFile(std::string text);

    /// Empties the log.
    void prepareRecord();

    /// The current local time as "05-03-2024 14:07:09".
    [[nodiscard]] std::string setTimeForMsg() const;

  private:
    std::string path_;
    Clock clock_;
};

/// The process's log, "/zrt/log/opcuasrv.log".
LogControllerWriter& getLoggerCtr();
