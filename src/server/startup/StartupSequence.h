#pragma once

#include <string>

/// The server's whole life: starts everything in its fixed order, runs the server loop and tears
/// down. Later steps use the results of earlier ones, so the order is part of the contract.
/// @return the process's exit status: 0, or -1 when the name "Opcua" could not be registered: a
///         live process holds it, the name registry is full, or it cannot be attached. The reason
///         is printed on standard error.
/// @param returnFreeMemory  gives unused memory back to the system; called once a second while the
///                          server runs
int runStartupSequence(void (*returnFreeMemory)());

/// What is published, as a text for operators; CP866.
std::string modeTextCp866(bool operative, bool historical);
