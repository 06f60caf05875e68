#include "server/endpoint/LoopSignals.h"

#include <pthread.h>

#include <csignal>
#include <initializer_list>

namespace {

pthread_t loopThread;  // set before the handler that reads it is installed

/// The library ends its loop when a blocked SIGINT is pending for the loop's thread. This turns a
/// SIGTERM, and a SIGINT that another thread received, into one. A signal that is still pending
/// when the loop has ended is delivered to that thread and has no effect.
void passOnToLoop(int signal) {
    if (signal == SIGTERM || pthread_equal(pthread_self(), loopThread) == 0) {
        (void)pthread_kill(loopThread, SIGINT);
    }
}

}  // namespace

void endLoopOnSignals() {
    loopThread = pthread_self();
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    // The library also blocks it, but later, and unblocks it after its loop.
    (void)pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    struct sigaction action {};
    action.sa_handler = passOnToLoop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM}) {
        (void)sigaction(signal, &action, nullptr);  // cannot fail for a valid signal
    }
}
