#include "lib/util/ipc_objects.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <ctime>

#include "support/vesk_path.h"

namespace {

TEST(IpcObjects, AreFoundDescribedAndRemovedByKind) {
    const VeskPath path;
    const key_t key = path.key("sim", 'a');
    const auto makeQueue = [](key_t k) {
        const int id = msgget(k, IPC_CREAT | 0600);
        const long message = 1;
        msgsnd(id, &message, 0, IPC_NOWAIT);
        return id;
    };
    const struct {
        IpcKind kind;
        int (*make)(key_t);
        std::size_t size;
        pid_t creator;
    } cases[] = {
        {IpcKind::segment, [](key_t k) { return shmget(k, 321, IPC_CREAT | 0600); }, 321, getpid()},
        {IpcKind::semaphore, [](key_t k) { return semget(k, 3, IPC_CREAT | 0600); }, 3, 0},
        {IpcKind::queue, makeQueue, 1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.kind));
        EXPECT_FALSE(IpcFind(c.kind, key));
        const int id = c.make(key);
        const auto found = IpcFind(c.kind, key);
        ASSERT_TRUE(found);
        EXPECT_TRUE(found->kind == c.kind && found->key == key && found->id == id);
        EXPECT_EQ(found->owner, geteuid());
        EXPECT_EQ(found->creatorPid, c.creator);
        EXPECT_EQ(found->size, c.size);
        EXPECT_EQ(found->attached, 0U);
        EXPECT_NEAR(static_cast<double>(found->changeTime), static_cast<double>(time(nullptr)), 5);
        EXPECT_EQ(IpcStat(c.kind, id)->key, key);
        EXPECT_EQ(IpcRemove(c.kind, id), 0);
        EXPECT_EQ(IpcRemove(c.kind, id), -1);
        EXPECT_FALSE(IpcStat(c.kind, id));
        EXPECT_FALSE(IpcFind(c.kind, -1)) << "the answer of a key that could not be made";
    }
}

}  // namespace
