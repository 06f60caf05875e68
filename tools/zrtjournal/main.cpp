#include "tools/zrtjournal/command_line.h"

int main(int argc, char** argv) {
    return tools::zrtjournal::runProgram(argc, argv);
}
