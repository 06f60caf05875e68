// Failures that a healthy kernel does not show on request. This executable answers the two calls
// itself.
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "lib/util/shmem.h"
#include "support/capture.h"
#include "support/child_process.h"
#include "support/vesk_path.h"

namespace {

int getError = 0;     // errno of the next failing shmget calls
int failingGets = 0;  // how many of them fail
int attachError = 0;  // errno of every shmat, 0: none fails

constexpr int kJournalIndex = 45;  // "/vskontr" 'd': a key without the generation
constexpr char kInRemovalLineCp866[] =
    "\x88\xAD\xA8\xE6\xA8\xA0\xAB\xA8\xA7\xA0\xE6\xA8\xEF "
    "\xE0\xA0\xA7\xA4\xA5\xAB\xEF\xA5\xAC\xAE\xA9"
    " \xAF\xA0\xAC\xEF\xE2\xA8\n";

}  // namespace

extern "C" int shmget(key_t key, size_t size, int flags) noexcept {
    if (failingGets == 0) return static_cast<int>(syscall(SYS_shmget, key, size, flags));
    --failingGets;
    errno = getError;
    return -1;
}

extern "C" void* shmat(int id, const void* address, int flags) noexcept {
    if (attachError == 0) return reinterpret_cast<void*>(syscall(SYS_shmat, id, address, flags));
    errno = attachError;
    return reinterpret_cast<void*>(-1);
}

namespace {

TEST(ShmOpenFaults, AreToldInTheTextsThatOperatorsKnow) {
    const VeskPath path;
    char line[80];
    std::snprintf(line, sizeof line, "Error ShmOpen index: 45 key: %#08x len: 26 iden=-1 mode=",
                  static_cast<unsigned>(path.key("vskontr", 'd')));
    std::string inRemovalTenTimes;
    for (int i = 0; i < 10; ++i)
        inRemovalTenTimes += kInRemovalLineCp866;
    const struct {
        const char* why;
        int getError, failingGets, attachError;
        unsigned mode;
        bool attached;
        int id;  // 77: untouched, 0: that of the segment
        std::string out, err;
    } cases[] = {
        {"a look at a segment in removal, then it is new", EIDRM, 1, 0, 64, true, 0,
         kInRemovalLineCp866, ""},
        {"in removal for good", EIDRM, 10, EINVAL, 0, false, -1, inRemovalTenTimes,
         "ShmOpen(shmat): Invalid argument\n"},
        {"not allowed", EACCES, 1, 0, 0, false, 77, std::string(line) + "0\n",
         "ShmOpen(shmget): Permission denied\n"},
        {"missing although it may be made", ENOENT, 1, 0, 64, false, 77, std::string(line) + "64\n",
         "ShmOpen(shmget): No such file or directory\n"},
        {"found, not attached", 0, 0, ENOMEM, 64, false, 0, "",
         "ShmOpen(shmat): Cannot allocate memory\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        getError = c.getError;
        failingGets = c.failingGets;
        attachError = c.attachError;
        int id = 77;
        Capture out(STDOUT_FILENO);
        Capture err(STDERR_FILENO);
        const ShmPtr address(ShmOpen(kJournalIndex, 26, c.mode, &id, 0));
        EXPECT_EQ(address != nullptr, c.attached);
        EXPECT_EQ(out.text(), c.out);
        EXPECT_EQ(err.text(), c.err);
        failingGets = attachError = 0;
        EXPECT_EQ(id, c.id == 0 ? shmget(path.key("vskontr", 'd'), 0, 0) : c.id);
    }
}

TEST(GetShmidxFaults, AttachingIsTold) {
    const VeskPath path;
    ChildProcess child([&] {
        EXPECT_NE(shmget(path.key("proxy", 'j'), 1, IPC_CREAT | 0777), -1);
        attachError = ENOMEM;
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 255);
        attachError = 0;
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 0);
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.err(), "idx(shmat): Cannot allocate memory\n");
}

}  // namespace
