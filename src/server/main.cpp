#include "server/startup/StartupSequence.h"

int main() {
    return runStartupSequence(Subsystems{});
}
