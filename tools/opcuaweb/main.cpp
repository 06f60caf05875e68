#include <malloc.h>

#include "tools/opcuaweb/program.h"

int main(int argc, char** argv) {
    // Every connection has a thread of its own. Memory that they have freed is kept by arena, and
    // two arenas keep half as much as sixteen; the threads rarely allocate at the same time.
    mallopt(M_ARENA_MAX, 2);
    return tools::opcuaweb::runProgram(argc, argv);
}
