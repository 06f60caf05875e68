#pragma once

#include <deque>
#include <map>

#include "fuzz/support/fuzzing.h"
#include "lib/bd_vesk/bdmessages.h"

/// The controller around the code under test, inside the fuzz target's own process and without a
/// system call. A target that compiles ipc_in_process.cpp takes from there what lib/util makes of
/// System V segments, semaphores and messages; the linker then leaves lib/util's own files out.
struct Controller {
    /// Contents of the segments by IPC index. There is nothing of ours behind a segment's last byte
    /// (a real one ends with a page), so that the address sanitizer sees what reads too far. Do not
    /// resize one that is attached.
    std::map<int, std::vector<std::uint8_t>> segments;
    /// What the database process answers, one request after the other; afterwards it is gone.
    std::deque<DB_REPLY> replies;
    /// Whether the next semaphore that is opened counts as made there and then.
    bool semaphoreIsNew = false;
};

extern Controller controller;

/// Writes the attribute description files that the database's readers look for.
void describeAttributes();

/// What another process does meanwhile: writes some bytes somewhere in a segment.
void overwrite(FuzzedDataProvider& in);
