#include "server/endpoint/Descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

int reserve = -1;  // server thread; -1: there is no descriptor to keep back

void takeReserve() {
    if (reserve == -1) reserve = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

/// Takes the next connection with the descriptor that was kept back, and closes it.
void turnAway(int listener) {
    if (reserve == -1) {
        // The whole system is out of descriptors, not only this process. The connection stays
        // pending and would be announced again at once, so wait a moment.
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

/// Whether the listening socket itself no longer works, as when the server ends.
bool isOver(int error) {
    return error == EBADF || error == EINVAL || error == ENOTSOCK || error == EOPNOTSUPP;
}

}  // namespace

std::size_t provideDescriptors(std::size_t wanted) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return wanted;
    if (limit.rlim_cur < wanted) {
        limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
        (void)setrlimit(RLIMIT_NOFILE, &limit);  // cannot fail within the hard limit
    }
    takeReserve();
    return limit.rlim_cur;
}

/// Replaces the C library's function in the whole program, the OPC UA library included. It behaves
/// the same, except that a connection that cannot be accepted is reported as aborted by its client
/// (ECONNABORTED); the OPC UA library then waits for the next one.
extern "C" int accept(int listener, sockaddr* __restrict address, socklen_t* __restrict length) {
    const int connection = accept4(listener, address, length, 0);
    if (connection != -1 || isOver(errno)) return connection;
    if (errno == EMFILE || errno == ENFILE) turnAway(listener);
    errno = ECONNABORTED;
    return -1;
}
