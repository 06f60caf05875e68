#include "tools/opcuacheck/command_line.h"

int main(int argc, char** argv) {
    return opcuacheck::runProgram(argc, argv);
}
