#include "tools/opcuaview/command_line.h"

int main(int argc, char** argv) {
    return tools::opcuaview::runProgram(argc, argv);
}
