#include "tools/opcuaweb/program.h"

int main(int argc, char** argv) {
    return tools::opcuaweb::runProgram(argc, argv);
}
