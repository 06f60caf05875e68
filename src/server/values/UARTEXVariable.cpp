#include "server/values/UARTEXVariable.h"

#include "server/diagnostics/ProcessSize.h"

// The process-wide objects of this folder. The objects of the list use the database until they are
// destroyed, so it is defined before the list.
CVeskBDSh UARTEXVariable::veskdb{0};
std::once_flag UARTEXVariable::loaded_;
std::vector<std::unique_ptr<UARTEXVariable>> rtexvariable;

UARTEXVariable::UARTEXVariable() {
    std::call_once(loaded_, [] {
        log_vsz("=== first initialize db ===");
        veskdb.LoadBD();
        log_vsz("=== db init success ===");
    });
}

int UARTEXVariable::getRVType() const {
    return 0;
}
