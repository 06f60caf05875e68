#pragma once

#include <functional>
#include <string>

#include <open62541/types.h>

class UAServer;

/// Parts of the server that start-up reaches in their place in the order, but that live in folders
/// of their own. One that is absent is passed over: nothing is called and nothing is reported for
/// it.
struct Subsystems {
    /// Joins the controller's event journal and installs it for messages. Non-zero: the process
    /// sleeps for ever, without a message.
    std::function<int()> openJournal;
    /// Builds the folders of tag groups below the operative tree.
    std::function<UA_StatusCode(UAServer&)> buildGroups;
    /// Puts the trend archive behind the library's history service, before the endpoint is set up.
    std::function<void(UAServer&)> installHistory;
    /// Builds the tree of plotters and pens. Called when historical data are switched on.
    std::function<UA_StatusCode(UAServer&)> buildHistory;
    /// Gives unused memory back to the system. Called once a second while the server runs.
    std::function<void()> returnFreeMemory = nullptr;
};

/// The server's whole life: brings everything up in its fixed order, runs the server loop and tears
/// down. Later steps read what earlier ones leave, so the order is part of the contract.
/// @return the process's exit status: 0, or -1 when the name "Opcua" could not be registered: a
///         live process holds it, the name registry is full, or it cannot be attached. Which it was
///         stands on standard error.
int runStartupSequence(const Subsystems& subsystems);

/// What is published, as operators read it; CP866.
std::string modeTextCp866(bool operative, bool historical);
