#include "tools/opcuacheck/command_line.h"

int main(int argc, char** argv) {
    return tools::opcuacheck::runProgram(argc, argv);
}
