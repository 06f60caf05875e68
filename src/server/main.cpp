#include <array>
#include <csignal>
#include <cstdio>

#include "server/memory/FreeMemory.h"
#include "server/startup/StartupSequence.h"

/// Who reads our output, or the log when that is a FIFO, may end at any moment: we go on. Before
/// the static objects are made, because some of them print.
__attribute__((constructor(101))) static void outliveReaders() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

int main() {
    // Under a supervisor standard output is a pipe, and what is said there would wait in a buffer
    // for the end of a process that never ends. Not every C library changes the mode of a stream
    // that is given no buffer.
    static std::array<char, BUFSIZ> lineBuffer;
    (void)std::setvbuf(stdout, lineBuffer.data(), _IOLBF, lineBuffer.size());
    return runStartupSequence(returnFreeMemory);
}
