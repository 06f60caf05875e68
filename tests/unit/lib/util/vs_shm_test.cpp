#include "lib/util/vs_shm.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "support/capture.h"
#include "support/child_process.h"
#include "support/vesk_path.h"
#include "support/wait_until.h"

namespace {

class Registry : public testing::Test {
  protected:
    // As another program of the controller writes and reads the segment.
    void set(int entry, const std::string& name, int pid) {
        registry.buf_names[entry] = {pid, {}};
        std::memcpy(registry.buf_names[entry].name, name.data(), name.size());
    }
    std::string name(int entry) const { return registry.buf_names[entry].name; }
    int pid(int entry) const { return registry.buf_names[entry].pid; }
    // Names up to the first free entry.
    std::string names() const {
        std::string all;
        for (int i = 0; i < 40 && !name(i).empty(); ++i)
            all += name(i) + ' ';
        return all;
    }
    void fill(int pid) {
        for (int i = 0; i < 40; ++i)
            set(i, "n" + std::to_string(i), pid);
    }

    VeskPath path;
    const Capture unused{STDERR_FILENO};  // says that no generation byte was set
    vs_shm registry{0};
    const int live = getpid();
    const int live2 = getppid();
    const int dead = deadPid();
};

TEST(RegistryLife, IsRemovedByItsMakerWithTheGenerationByte) {
    const VeskPath path;
    Capture err(STDERR_FILENO);
    for (const bool withGeneration : {false, true}) {
        auto maker = std::make_unique<vs_shm>(0);
        EXPECT_EQ(maker->cr_mem, 1);
        EXPECT_EQ(IpcFind(IpcKind::segment, path.key("proxy", 'a'))->size, 1600U);
        EXPECT_EQ(maker->name_add("Opcua", 0), getpid());
        static_cast<void>(vs_shm(0));  // comes and goes
        auto joined = std::make_unique<vs_shm>(0);
        EXPECT_EQ(joined->cr_mem, 0);
        if (withGeneration) {
            EXPECT_EQ(maker->set_shmidx(kGenerationIpcIndex, 9), 0);
            EXPECT_EQ(maker->set_shmidx(kGenerationIpcIndex, 201), 0);
            ChildProcess reader([] { return get_shmidx(kGenerationIpcIndex, ID_mas.data()); });
            EXPECT_EQ(reader.wait(), 201);
            EXPECT_EQ(IpcFind(IpcKind::segment, path.key("proxy", 'j'))->attached, 1U);
        }
        maker.reset();
        EXPECT_EQ(joined->name_find("Opcua"), getpid()) << "neither cleared nor gone for others";
        joined.reset();
        EXPECT_EQ(path.objectCount(), 0U);
    }
    EXPECT_EQ(err.text(), "vs_shm(shmctl): Invalid argument\n") << "no generation byte was set";
}

TEST(RegistryLife, WithoutItsSegmentNothingIsFoundOrTaken) {
    const VeskPath path;
    Capture err(STDERR_FILENO);
    ASSERT_NE(shmget(path.key("proxy", 'a'), 1599, IPC_CREAT | 0666), -1);
    vs_shm registry(0);
    EXPECT_EQ(registry.name_add("Opcua", 0), -1);
    EXPECT_EQ(registry.name_find("Opcua"), -1);
    EXPECT_EQ(registry.name_del("Opcua"), 0);
    EXPECT_EQ(registry.pid_del(getpid()), 0);
    std::filesystem::remove(path.file("proxy"));
    EXPECT_EQ(registry.set_shmidx(kGenerationIpcIndex, 1), 0) << "goes on with the key -1";
    EXPECT_EQ(ShmRemove(registry.id_shmidx), 0);
    EXPECT_EQ(err.text(),
              "vs_shm(shmget): Invalid argument\nvs_sem(ftok): No such file or directory\n");
}

TEST_F(Registry, TakesNamesThatFitAndAreFree) {
    set(0, "VsBASE", live);
    EXPECT_EQ(registry.name_add("Opcua", 0), live);
    EXPECT_EQ(registry.name_add("Opcua", live2), -1) << "a live process has it";
    const std::string longest(35, 'x');
    EXPECT_EQ(registry.name_add(longest.c_str(), live2), live2);
    Capture err(STDERR_FILENO);
    EXPECT_EQ(registry.name_add((longest + 'x').c_str(), 0), -1);
    EXPECT_EQ(registry.name_add("", 0), -1);
    EXPECT_EQ(err.text(), "vs_shm: name \"" + longest +
                              "x\" refused: 36 bytes, 1 to 35 fit\n"
                              "vs_shm: name \"\" refused: 0 bytes, 1 to 35 fit\n");
    EXPECT_EQ(names(), "VsBASE Opcua " + longest + ' ');
    EXPECT_EQ(pid(1), live);
    EXPECT_EQ(pid(2), live2);
    EXPECT_EQ(registry.name_find("VsBASE"), live);
    for (const char* unknown : {"opcua", "Opcu", ""})
        EXPECT_EQ(registry.name_find(unknown), -1) << unknown;
    EXPECT_EQ(findpid(live), 0);
    EXPECT_EQ(findpid(dead), -1);
}

TEST_F(Registry, GivesTheNameOfADeadHolderAway) {
    set(0, "first", live);
    set(1, "Opcua", dead);
    set(2, "dead too", dead);
    set(3, "last", live);
    EXPECT_EQ(registry.name_add("Opcua", live2), live2);
    EXPECT_EQ(names(), "first last Opcua ") << "all names of the dead process go";
    EXPECT_EQ(pid(2), live2);
}

TEST_F(Registry, OverlooksALiveHolderThatMovesToTheFirstEntry) {
    set(0, "Opcua", dead);
    set(1, "Opcua", live);
    EXPECT_EQ(registry.name_find("Opcua"), -1);
    EXPECT_EQ(registry.name_find("Opcua"), live) << "the next search sees it";
    set(0, "first", live);
    set(1, "Opcua", dead);
    set(2, "Opcua", live2);
    EXPECT_EQ(registry.name_find("Opcua"), live2);
}

TEST_F(Registry, DeletesByPidOrName) {
    const struct {
        const char* why;
        std::vector<int> pids;  // of "a", "b", ...
        const char* name;       // null: delete by pid
        int pid;
        int result;
        const char* left;
    } cases[] = {
        {"first", {1, 2, 3}, nullptr, 1, 1, "b c "},
        {"last", {1, 2, 3}, nullptr, 3, 3, "a b "},
        {"neighbours", {1, 2, 2, 2, 3}, nullptr, 2, 2, "a e "},
        {"scattered", {2, 1, 2, 3, 2}, nullptr, 2, 2, "b d "},
        {"free entries belong to nobody", {1, 2}, nullptr, 0, 0, "a b "},
        {"by name", {1, 2, 2}, "b", 0, 2, "a c "},
        {"by unknown name", {1, 2, 2}, "bb", 0, 0, "a b c "},
        {"by no name", {1, 2, 2}, "", 0, 0, "a b c "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        for (int i = 0; i < 40; ++i)
            set(i, "", 0);
        for (int i = 0; i < std::ssize(c.pids); ++i)
            set(i, std::string(1, static_cast<char>('a' + i)), c.pids.at(std::size_t(i)));
        EXPECT_EQ(c.name != nullptr ? registry.name_del(c.name) : registry.pid_del(c.pid),
                  c.result);
        EXPECT_EQ(names(), c.left);
    }
}

TEST_F(Registry, KeepsTheLastEntryTwiceAfterADeletionFromAFullTable) {
    fill(live);
    EXPECT_EQ(registry.name_add("41st", 0), -1);
    EXPECT_EQ(registry.name_del("n5"), live);
    EXPECT_EQ(name(5), "n6");
    EXPECT_EQ(name(38), "n39");
    EXPECT_EQ(name(39), "n39");
    EXPECT_EQ(registry.name_add("41st", 0), -1) << "so there is no room";
    EXPECT_EQ(registry.name_del("n39"), live) << "ends, and takes both";
    EXPECT_EQ(registry.name_add("41st", 0), live);
    EXPECT_EQ(name(37) + ' ' + name(38) + ' ' + name(39), "n38 41st ");

    fill(dead);
    EXPECT_EQ(registry.name_find("n39"), -1);
    EXPECT_EQ(names(), "");
}

TEST_F(Registry, ChangesWaitForTheLockAndSearchesDoNot) {
    set(0, "VsBASE", live);
    set(1, "other", live2);
    const struct {
        const char* why;
        int (*change)(vs_shm&, int pid);
        const char* after;
    } cases[] = {
        {"add", [](vs_shm& r, int pid) { return r.name_add("new", pid); }, "VsBASE other new "},
        {"delete by pid", [](vs_shm& r, int pid) { return r.pid_del(pid); }, "other "},
        {"delete by name", [](vs_shm& r, int) { return r.name_del("other"); }, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const std::string before = names();
        auto lock = std::make_unique<SemLock>(registry);
        ChildProcess changing([&] {
            vs_shm joined(0);
            EXPECT_EQ(joined.name_find("nobody"), -1);
            EXPECT_GT(c.change(joined, live), 0);
            return 0;
        });
        EXPECT_TRUE(waitUntil([&] { return semctl(registry.id_sem, 0, GETNCNT) == 1; }));
        EXPECT_EQ(names(), before);
        lock.reset();
        EXPECT_EQ(changing.wait(), 0);
        EXPECT_EQ(names(), c.after);
    }
}

}  // namespace
