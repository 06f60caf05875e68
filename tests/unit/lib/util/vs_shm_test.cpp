#include "lib/util/vs_shm.h"

#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "tests/support/child_process.h"
#include "tests/support/vesk_path.h"

class Registry : public testing::Test {
  protected:
    // As another program of the controller writes and reads the segment.
    void set(std::size_t entry, const std::string& name, int pid) {
        registry.buf_names[entry] = {pid, {}};
        name.copy(registry.buf_names[entry].name, name.size());
    }
    // Up to the first free entry.
    std::string names() const {
        std::string all;
        for (int i = 0; i < 40 && registry.buf_names[i].name[0] != 0; ++i)
            all += std::string(registry.buf_names[i].name) + ' ';
        return all;
    }

    const VeskPath path;
    vs_shm registry{0};
    const int live = getpid(), live2 = getppid(), dead = deadPid();
};

TEST(RegistryLife, IsRemovedByItsMakerWithTheGenerationByte) {
    const VeskPath path;
    auto maker = std::make_unique<vs_shm>(0);
    EXPECT_EQ(IpcFind(IpcKind::segment, path.key("proxy", 'a'))->size, 1600U);
    EXPECT_EQ(maker->name_add("Opcua", 0), getpid());
    auto joined = std::make_unique<vs_shm>(0);
    EXPECT_EQ(std::tuple(maker->cr_mem, joined->cr_mem), std::tuple(1, 0));
    for (const std::uint8_t generation : {std::uint8_t{9}, std::uint8_t{201}})
        EXPECT_EQ(maker->set_shmidx(kGenerationIpcIndex, generation), 0);
    ChildProcess reader([] { return get_shmidx(kGenerationIpcIndex, ID_mas.data()); });
    EXPECT_EQ(reader.wait(), 201);
    EXPECT_EQ(path.permissions(IpcKind::segment), "666 777 ");
    EXPECT_EQ(path.permissions(IpcKind::semaphore), "666 ");
    maker.reset();
    EXPECT_EQ(joined->name_find("Opcua"), getpid()) << "neither cleared nor gone for others";
    joined.reset();
    Capture err(STDERR_FILENO);
    { const vs_shm withoutGeneration(0); }
    EXPECT_EQ(err.text(), "vs_shm(shmctl): Invalid argument\n");
    EXPECT_EQ(path.objectCount(), 0U);
}

TEST(RegistryLife, ItsMakerClearsNothingThatOthersHaveAdded) {
    const VeskPath path;
    vs_sem lock(0, 0666);  // as taken by a process that was quicker to join
    lock.sem_lock();
    ChildProcess maker([] {
        vs_shm registry(0);
        const SemLock held(registry);
        return registry.cr_mem != 0 && registry.name_find("VsBASE") == getpid() ? 0 : 1;
    });
    const auto made = [&] { return IpcFind(IpcKind::segment, path.key("proxy", 'a')); };
    ASSERT_TRUE(waitUntil([&] { return made() && semctl(lock.id_sem, 0, GETNCNT) == 1; }));
    const vs_shm joined(0);
    joined.buf_names[0] = {maker.pid(), "VsBASE"};
    lock.sem_unlock();
    EXPECT_EQ(maker.wait(), 0);
}

TEST(RegistryLife, WithoutItsSegmentNothingIsFoundOrTaken) {
    const VeskPath path;
    Capture err(STDERR_FILENO);
    ASSERT_NE(shmget(path.key("proxy", 'a'), 1599, IPC_CREAT | 0666), -1);
    vs_shm registry(0);
    EXPECT_EQ(registry.name_add("Opcua", 0), -1);
    EXPECT_EQ(registry.name_find("Opcua"), -1);
    EXPECT_EQ(registry.name_del("Opcua"), 0);
    std::filesystem::remove(path.file("proxy"));
    EXPECT_EQ(registry.set_shmidx(kGenerationIpcIndex, 1), 0) << "goes on with the key -1";
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
    EXPECT_EQ(registry.name_find("Opcua"), live);
    EXPECT_EQ(registry.name_find(longest.c_str()), live2);
    for (const char* unknown : {"opcua", "Opcu", ""})
        EXPECT_EQ(registry.name_find(unknown), -1) << unknown;
}

TEST_F(Registry, GivesTheNamesOfDeadHoldersAwayAndOverlooksALiveOneThatMovesToTheFirstEntry) {
    set(0, "first", live);
    set(1, "Opcua", dead);
    set(2, "dead too", dead);
    set(3, "last", live);
    EXPECT_EQ(registry.name_add("Opcua", live2), live2);
    EXPECT_EQ(names(), "first last Opcua ") << "all names of the dead process go";
    set(1, "Opcua", dead);
    EXPECT_EQ(registry.name_find("Opcua"), live2);

    set(0, "Opcua", dead);
    set(1, "Opcua", live);
    EXPECT_EQ(registry.name_find("Opcua"), -1);
    EXPECT_EQ(registry.name_find("Opcua"), live) << "the next search sees it";
}

TEST_F(Registry, DeletesByPidOrName) {
    const struct {
        const char* why;
        std::vector<int> pids;  // of "a", "b", ...
        const char* name;       // null: delete by pid
        int pid, result;
        const char* left;
    } cases[] = {
        {"the last", {1, 2, 3}, nullptr, 3, 3, "a b "},
        {"neighbours", {1, 2, 2, 2, 3}, nullptr, 2, 2, "a e "},
        {"the first and scattered", {2, 1, 2, 3, 2}, nullptr, 2, 2, "b d "},
        {"free entries belong to nobody", {1, 2}, nullptr, 0, 0, "a b "},
        {"by name", {1, 2, 2}, "b", 0, 2, "a c "},
        {"by unknown name", {1, 2, 2}, "bb", 0, 0, "a b c "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        for (std::size_t i = 0; i < 40; ++i)
            i < c.pids.size() ? set(i, std::string(1, static_cast<char>('a' + i)), c.pids[i])
                              : set(i, "", 0);
        set(39, "behind a free one", 4711);
        EXPECT_EQ(c.name ? registry.name_del(c.name) : registry.pid_del(c.pid), c.result);
        EXPECT_EQ(names(), c.left);
        EXPECT_EQ(registry.buf_names[38].name[0], 0) << "not moved up";
    }
}

TEST_F(Registry, KeepsTheLastEntryTwiceAfterADeletionFromAFullTable) {
    const auto fill = [&](int pid) {
        for (std::size_t i = 0; i < 40; ++i)
            set(i, i == 5 ? "x" : "n", pid);
    };
    fill(live);
    EXPECT_EQ(registry.name_add("41st", 0), -1);
    set(39, "last", live2);
    EXPECT_EQ(registry.name_del("x"), live);
    EXPECT_TRUE(names().ends_with("n n last last ")) << names();
    EXPECT_EQ(registry.name_add("41st", 0), -1) << "so there is no room";
    set(3, "last", live);
    EXPECT_EQ(registry.name_del("last"), live2) << "ends, and takes them all";
    EXPECT_EQ(registry.name_add("41st", 0), live);
    EXPECT_TRUE(names().ends_with("n n 41st ")) << names();

    fill(dead);
    EXPECT_EQ(registry.name_find("n"), -1);
    EXPECT_EQ(names(), "");
}

TEST_F(Registry, ChangesWaitForTheLockAndSearchesDoNot) {
    set(0, "VsBASE", live);
    registry.sem_lock();
    ChildProcess changes[] = {
        ChildProcess([this] { return registry.name_add("new", 4711) == 4711 ? 0 : 1; }),
        ChildProcess([this] { return registry.pid_del(dead); }),
        ChildProcess([this] { return registry.name_del("nobody"); }),
    };
    EXPECT_TRUE(waitUntil([&] { return semctl(registry.id_sem, 0, GETNCNT) == 3; }));
    EXPECT_EQ(registry.name_find("VsBASE"), live);
    EXPECT_EQ(names(), "VsBASE ");
    registry.sem_unlock();
    for (ChildProcess& change : changes)
        EXPECT_EQ(change.wait(), 0);
    EXPECT_EQ(names(), "VsBASE new ");
}
