#include <array>
#include <csignal>
#include <cstdio>

#include "server/memory/FreeMemory.h"
#include "server/startup/StartupSequence.h"

namespace {

/// The reader of the output, or of the log if that is a FIFO, may end at any moment; the server
/// continues. Set before static objects are constructed, because some of them print.
__attribute__((constructor(101))) void outliveReaders() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace

int main() {
    // Under a supervisor standard output is a pipe, and printed text would stay in a buffer until
    // the process ends. The stream gets a buffer because not every C library changes the mode
    // without one.
    static std::array<char, BUFSIZ> lineBuffer;
    (void)std::setvbuf(stdout, lineBuffer.data(), _IOLBF, lineBuffer.size());
    return runStartupSequence(returnFreeMemory);
}
