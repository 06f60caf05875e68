#pragma once

#include <cstdint>
#include <string>

/// The controller's identity: its number, with which every journal message and log line begins, and
/// its cycle time. Despite its name it handles no messages. Read once at construction, constant
/// afterwards.
class MsgHandler {
  public:
    /// @param settingsPath  the controller's settings file; a missing one leaves number 0, 100 ms
    explicit MsgHandler(const std::string& settingsPath);

    [[nodiscard]] std::int32_t getNumKontrMsg() const noexcept { return numKontr_; }
    /// Milliseconds.
    [[nodiscard]] std::int32_t getCycleTimeMsg() const noexcept { return cycleTimeMs_; }
    /// The controller's number as plain decimal text.
    [[nodiscard]] std::string getNumContrStroke() const;

  private:
    std::int32_t numKontr_;
    std::int32_t cycleTimeMs_;
};

/// The process's instance, made from "/zrt/settings/veskkntr.ini" on the first call. The path is
/// fixed: the environment variable SETTINGS is ignored. Any thread.
MsgHandler& getMsgHandler();

/// Replaces the instance by one made from another settings file, for tools that check another
/// controller's configuration. Before the first message, main thread.
void useControllerSettings(const std::string& settingsPath);
