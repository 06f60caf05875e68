#pragma once

#include <memory>

#include "server/kinds/Kinds.h"

class UARTEXVariable;

/// A new object of the kind's class, bound to no variable yet. The first one of the process loads
/// the database.
std::unique_ptr<UARTEXVariable> newVariable(VariableType kind);

/// Adds one object per database variable of the kind to `rtexvariable`, numbered from 1, up to the
/// first number that the database does not have.
void createVariables(VariableType kind);
