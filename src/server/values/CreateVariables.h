#pragma once

#include <memory>

#include "server/kinds/Kinds.h"

class UARTEXVariable;

/// A new object of the kind's class, bound to no variable yet. The first one of the process loads
/// the database.
std::unique_ptr<UARTEXVariable> newVariable(VariableType kind);
