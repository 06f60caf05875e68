#include "server/endpoint/Descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

int reserve = -1;  // server thread; -1: none is left even for it

void takeReserve() {
    if (reserve == -1) reserve = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

/// Takes the next connection with the descriptor that was kept back, and closes it.
void turnAway(int listener) {
    if (reserve == -1) {
        // All of the system's are gone, not only ours. The connection waits, and so do we for a
        // moment, because it is announced again at once.
        constexpr useconds_t kPauseUs = 1000;
        (void)usleep(kPauseUs);
    } else {
        (void)close(reserve);
        reserve = -1;
        const int unwanted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (unwanted != -1) (void)close(unwanted);
    }
    takeReserve();
}

/// Whether it is the listening socket that does not work any more, as when the server ends.
bool isOver(int error) {
    return error == EBADF || error == EINVAL || error == ENOTSOCK || error == EOPNOTSUPP;
}

}  // namespace

std::size_t provideDescriptors(std::size_t wanted) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return wanted;
    if (limit.rlim_cur < wanted) {
        limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
        (void)setrlimit(RLIMIT_NOFILE, &limit);  // what is allowed cannot fail
    }
    takeReserve();
    return limit.rlim_cur;
}

/// Takes the place of the C library's function for the whole program, the OPC UA library included.
/// As that one, but a connection that cannot be taken is reported as one that its client has given
/// up (ECONNABORTED), after which the OPC UA library waits for the next.
extern "C" int accept(int listener, sockaddr* __restrict address, socklen_t* __restrict length) {
    const int connection = accept4(listener, address, length, 0);
    if (connection != -1 || isOver(errno)) return connection;
    if (errno == EMFILE || errno == ENFILE) turnAway(listener);
    errno = ECONNABORTED;
    return -1;
}
