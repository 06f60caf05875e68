#include "server/values/VariableTypeAV.h"

#include <cstdio>
#include <exception>

// KEPT: only this kind guards its binding. Required by the interface.
int VariableTypeAV::getCountVarFormObj(int number) {
    if (rtexvariable.empty()) {
        std::fputs("AV: the list of variables is empty, createVarObj cannot be called\n", stderr);
        return 1;
    }
    try {
        return VariableOfKind::getCountVarFormObj(number);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "AV: createVarObj of variable %d failed: %s\n", number, error.what());
    } catch (...) {
        std::fprintf(stderr, "AV: createVarObj of variable %d failed: unknown exception\n", number);
    }
    return 1;
}
