#pragma once

// The lines that the journal library prints: fixed texts, required by the interface, in CP866 on
// standard output.

enum class RolText {
    sharedMemoryFailed,     // code
    iniFileMissing,         // path
    messageLost,            // code, dictionary, message code
    messagesNotWritable,    // path
    countersNotWritable,    // path
    shortWrite,             // path
    notOnDisk,              // path
    nothingToWrite,         //
    messagesNotReadable,    // path
    shortHeader,            // path
    badHeader,              // path
    badMessage,             // code, path
    countersNotReadable,    // path
    badCounters,            // path
    mainMessagesFailed,     // code
    mainCountersFailed,     // code
    reserveMessagesFailed,  // code
    reserveCountersFailed,  // code
};

/// The values for a text. Each text uses those listed beside it above and ignores the rest.
struct RolDetails {
    int code = 0;
    const char* path = "";
    long dictionary = 0;
    long messageCode = 0;
};

/// Prints one line. Any thread.
void RolReport(RolText text, const RolDetails& details = {});
