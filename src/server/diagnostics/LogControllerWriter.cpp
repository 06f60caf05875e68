#include "server/diagnostics/LogControllerWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

namespace {

/// Opens without waiting: opening a FIFO would otherwise block until somebody reads it.
/// @return -1 on failure
int openToWrite(const std::string& path, int flags) {
    constexpr mode_t kPermissions = 0666;
    return open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags,
                kPermissions);
}

}  // namespace

LogControllerWriter::LogControllerWriter()
    : LogControllerWriter("/zrt/log/opcuasrv.log", &std::chrono::system_clock::now) {}

LogControllerWriter::LogControllerWriter(std::string path, Clock clock)
    : path_(std::move(path)), clock_(clock) {}

void LogControllerWriter::writeLogToFile(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    const int file = openToWrite(path_, O_APPEND);
    if (file == -1) return;
    // One write, so that readers see only whole lines. What does not fit on a full disk is lost.
    const std::string line = setTimeForMsg() + ": " + text + "\n";
    [[maybe_unused]] const ssize_t taken = write(file, line.data(), line.size());
    (void)close(file);
}

void LogControllerWriter::prepareRecord() {
    const int file = openToWrite(path_, O_TRUNC);
    if (file != -1) (void)close(file);
}

std::string LogControllerWriter::setTimeForMsg() const {
    const std::time_t now =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(clock_()));
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 100> text{};
    const auto length = std::strftime(text.data(), text.size(), "%d-%m-%Y %H:%M:%S", &local);
    return {text.data(), length};
}

LogControllerWriter& getLoggerCtr() {
    // Never destroyed: objects that are destroyed at the process's end may still write to it.
    static auto& logger = *new LogControllerWriter;
    return logger;
}
