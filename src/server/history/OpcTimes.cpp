#include "server/history/OpcTimes.h"

#include <array>
#include <cstdio>
#include <ctime>

timeval convertUADateTimeToTimeval(const UA_DateTime& microseconds) {
    constexpr UA_DateTime kPerSecond = 1'000'000;
    return {microseconds / kPerSecond, microseconds % kPerSecond};
}

std::string format_opc_time(const timeval& time) {
    tm local{};
    if (localtime_r(&time.tv_sec, &local) == nullptr) return {};
    std::array<char, 20> day{};
    if (strftime(day.data(), day.size(), "%Y-%m-%d %H:%M:%S", &local) == 0) return {};
    std::array<char, 24> milliseconds{};
    (void)std::snprintf(milliseconds.data(), milliseconds.size(), ".%03ld",
                        static_cast<long>(time.tv_usec / 1000));
    return std::string(day.data()) + milliseconds.data();
}
