#include "lib/util/qnx_calls.h"

#include <cstddef>
#include <cstdio>
#include <ctime>

#include "lib/util/vs_obj.h"

namespace {
// Longest decimal text of 32 bits with its sign and terminator.
constexpr std::size_t kNumberBytes = 12;
}  // namespace

char* itoa(int value, char* buf, int /*radix*/) {
    std::snprintf(buf, kNumberBytes, "%d", value);
    return buf;
}

char* utoa(unsigned int value, char* buf, int /*radix*/) {
    std::snprintf(buf, kNumberBytes, "%u", value);
    return buf;
}

int qnx_name_locate(int /*node*/, const char* name, unsigned int /*size*/,
                    unsigned int* /*copies*/) {
    return All != nullptr ? All->name_find(name) : -1;
}

int Send(int pid, void* smsg, void* rmsg, unsigned int ssize, unsigned int rsize) {
    return All != nullptr ? All->Send(pid, smsg, rmsg, ssize, rsize) : -1;
}

void delay(unsigned int ms) {
    const timespec time{ms / 1000U, static_cast<long>(ms % 1000U) * 1'000'000L};
    static_cast<void>(nanosleep(&time, nullptr));  // a signal may end it early, as documented
}
