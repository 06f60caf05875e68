// The C library's time of day, moved by the seconds in the file that SET_CLOCK names. The monotonic
// clocks are not affected, as when somebody sets the machine's clock.
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

namespace {

time_t shift() {
    time_t seconds = 0;
    const char* const path = std::getenv("SET_CLOCK");
    if (path != nullptr) std::ifstream(path) >> seconds;
    return seconds;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (result == 0 && clock == CLOCK_REALTIME) now->tv_sec += shift();
    return result;
}

__attribute__((visibility("default"))) int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    timespec fine{};
    clock_gettime(CLOCK_REALTIME, &fine);
    *now = {fine.tv_sec, fine.tv_nsec / 1000};
    return 0;
}

__attribute__((visibility("default"))) time_t time(time_t* now) noexcept {
    timespec fine{};
    clock_gettime(CLOCK_REALTIME, &fine);
    if (now != nullptr) *now = fine.tv_sec;
    return fine.tv_sec;
}
}
