#include "lib/util/abs_time.h"

#include <sys/times.h>
#include <unistd.h>

#include <cerrno>

const long ABSCLOCKS_PER_SEC = sysconf(_SC_CLK_TCK);

long abs_clock() {
    tms unused{};
    const clock_t ticks = times(&unused);
    return ticks == static_cast<clock_t>(-1) ? -errno : ticks;
}

int OpenAbsClock() {
    return 0;
}

void timecon(const timeval* from, timespec* to) {
    to->tv_sec = from->tv_sec;
    to->tv_nsec = from->tv_usec * 1000;
}
