#pragma once

#include <deque>
#include <map>

#include "fuzz/support/fuzzing.h"
#include "lib/bd_vesk/bdmessages.h"

/// The controller around the code under test, inside the fuzz target's own process and without
/// system calls. A target that compiles ipc_in_process.cpp gets its replacements of lib/util's
/// functions for System V segments, semaphores and messages; the linker then leaves lib/util's own
/// files out.
struct Controller {
    /// Contents of the segments by IPC index. A segment ends with its last byte (a real one ends
    /// with a page), so that the address sanitizer detects reads beyond it. Do not resize one that
    /// is attached.
    std::map<int, std::vector<std::uint8_t>> segments;
    /// The database process's answers, one per request; afterwards it no longer exists.
    std::deque<DB_REPLY> replies;
    /// Whether the next semaphore that is opened counts as newly made.
    bool semaphoreIsNew = false;
};

extern Controller controller;

/// Writes the attribute description files that the database's readers look for.
void describeAttributes();

/// Acts as another process: writes some bytes somewhere in a segment.
void overwrite(FuzzedDataProvider& in);
