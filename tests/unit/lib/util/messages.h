#pragma once

#include <sys/msg.h>

#include "lib/util/vs_obj.h"
#include "tests/support/child_process.h"
#include "tests/support/vesk_path.h"

// A queue message in its memory layout.
struct RawMessage {
    long type;
    int sender;
    char data[4076];
};

class Messages : public testing::Test {
  protected:
    // As another program: `sender` asks `addressee`.
    void request(int addressee, int sender, const std::string& data) const {
        RawMessage message{addressee, sender, {}};
        data.copy(message.data, data.size());
        ASSERT_EQ(msgsnd(object.SR_id, &message, 4 + data.size(), IPC_NOWAIT), 0);
    }
    // The message for an addressee, with its sender in front; "none" when there is none.
    static std::string take(int queue, int addressee) {
        RawMessage message{};
        const ssize_t got = msgrcv(queue, &message, 4080, addressee, IPC_NOWAIT);
        if (got < 4) return "none";
        return std::to_string(message.sender) + ':' +
               std::string(message.data, static_cast<std::size_t>(got) - 4);
    }

    const VeskPath path;
    vs_obj object;
    const int own = getpid();
};
