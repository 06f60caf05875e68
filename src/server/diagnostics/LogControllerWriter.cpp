#include "server/diagnostics/LogControllerWriter.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <fstream>
#include <utility>

LogControllerWriter::LogControllerWriter()
    : LogControllerWriter("/zrt/log/opcuasrv.log", &std::chrono::system_clock::now) {}

LogControllerWriter::LogControllerWriter(std::string path, Clock clock)
    : path_(std::move(path)), clock_(clock) {}

void LogControllerWriter::writeLogToFile(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::ofstream file(path_, std::ios::app);
    // One text, so that the stream hands the system one write: other readers see whole lines only.
    file << setTimeForMsg() + ": " + text + "\n";
}

void LogControllerWriter::prepareRecord() {
    std::ofstream(path_, std::ios::trunc);
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
    // Never destroyed: objects that end with the process may still have something to say.
    static auto& logger = *new LogControllerWriter;
    return logger;
}
