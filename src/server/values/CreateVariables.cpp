#include "server/values/CreateVariables.h"

#include <array>
#include <cstddef>

#include "server/values/VariableTypeAV.h"
#include "server/values/VariableTypeDV.h"
#include "server/values/VariableTypeRV.h"
#include "server/values/VariableTypeVA.h"
#include "server/values/VariableTypeVD.h"

namespace {

using Maker = std::unique_ptr<UARTEXVariable> (*)();

template <class Variable>
constexpr Maker kMake =
    [] { return std::unique_ptr<UARTEXVariable>(std::make_unique<Variable>()); };

// By VariableType.
constexpr auto kMakers =
    std::to_array<Maker>({kMake<VariableTypeVA>, kMake<VariableTypeAV>, kMake<VariableTypeRV>,
                          kMake<VariableTypeVD>, kMake<VariableTypeDV>});
static_assert(kMakers.size() == kKinds.size(), "one for each kind");

}  // namespace

std::unique_ptr<UARTEXVariable> newVariable(VariableType kind) {
    return kMakers.at(static_cast<std::size_t>(kind))();
}

void createVariables(VariableType kind) {
    int number = 1;
    do {
        rtexvariable.push_back(newVariable(kind));
    } while (rtexvariable.back()->getCountVarFormObj(number++) == 0);
    rtexvariable.pop_back();
}
