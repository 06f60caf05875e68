#pragma once

#include <cstdint>
#include <string>

/// Who we are: the controller's number, which starts every journal message and log line, and its
/// cycle time. Read once at construction, constant afterwards.
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

/// The process's instance, made from "/zrt/settings/veskkntr.ini" on the first call, whatever the
/// environment says about the settings folder. Any thread.
MsgHandler& getMsgHandler();

/// Makes the instance anew from another settings file: for tools that speak of another controller.
/// Before the first message, main thread.
void useControllerSettings(const std::string& settingsPath);
