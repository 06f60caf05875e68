#include <cstdio>

#include "server/UAServer.h"
#include "server/startup/StartupSequence.h"

int main() {
    // Under a supervisor standard output is a pipe, and what is said there would wait in a buffer
    // for the end of a process that never ends.
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Subsystems subsystems;
    subsystems.buildGroups = [](UAServer& server) { return server.initializeOperativeTreeGroup(); };
    return runStartupSequence(subsystems);
}
