#include "tools/zrtjournal/command_line.h"

int main(int argc, char** argv) {
    return zrtjournal::runProgram(argc, argv);
}
