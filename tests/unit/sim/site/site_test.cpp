#include "site/site.h"

#include <gtest/gtest.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <sstream>
#include <string>

#include "failure.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_obj.h"
#include "lib/util/vs_sem.h"
#include "memory/controller_ipc.h"
#include "support/child_process.h"
#include "unit/sim/site/temporary_site.h"

namespace {

constexpr sim::Counts kSmall{3, 1, 2, 2, 1, 1, 0, 0, 0, 0, 0};

class SiteTest : public testing::Test {
  protected:
    ~SiteTest() override { EXPECT_EQ(TemporarySite::objects(), 0U) << "objects left behind"; }

    std::ostringstream messages;
    TemporarySite temporary;

    /// Runs in a process of its own, which reads the generation byte anew and may be killed.
    static void inChild(const std::function<void()>& body) {
        ChildProcess child([&] {
            body();
            return 0;
        });
        EXPECT_EQ(child.wait(), 0) << child.out() << child.err();
    }

    void occupy(sim::Site& site, bool fresh = false) {
        site.enter(fresh);
        site.makeFoldersAndKeyFiles();
        site.makeFile(site.folders().offsetFile(), "offsets");
        if (!site.keepsEdited(site.folders().serverIni())) {
            site.makeFile(site.folders().serverIni(), "sample");
        }
    }

    /// A run that is killed with everything in place.
    void killedRun() {
        ChildProcess run([&] {
            sim::Site site(sim::controllerFolders(), messages);
            occupy(site);
            sim::ControllerIpc ipc(site.record(), 3);
            static_cast<void>(ipc.makeDatabase(kSmall));
            ipc.announce();
            std::printf("ready\n");
            std::fflush(stdout);
            pause();
            return 0;
        });
        ASSERT_TRUE(waitUntil([&] { return run.out().find("ready\n") != std::string::npos; }))
            << run.err();
        kill(run.pid(), SIGKILL);
        run.wait();
        ASSERT_GT(TemporarySite::objects(), 10U);
    }

    /// Enters as a new run and leaves again.
    /// @return the exit code that it would have, 0 when it entered
    int enter(bool fresh = false) {
        ChildProcess run([&] {
            try {
                sim::Site(sim::controllerFolders(), messages).enter(fresh);
                return 0;
            } catch (const sim::Failure& failure) {
                std::printf("%s", failure.what());
                return static_cast<int>(failure.code());
            }
        });
        const int code = run.wait();
        refusal = run.out();
        return code;
    }

    std::string refusal;
};

TEST_F(SiteTest, FreshGivesNoRightToFilesOfOthers) {
    for (const char* name : {"show", "system/offatrs.dat", "settings/opcuasrv.ini"}) {
        temporary.write(name, "of others");
        EXPECT_EQ(enter(true), 4) << name;
        EXPECT_NE(refusal.find(name), std::string::npos) << refusal;
        EXPECT_EQ(temporary.read(name), "of others");
        std::filesystem::remove(temporary.path(name));
    }
}

TEST_F(SiteTest, WhoHoldsTheDatabasesNameIsNotAlwaysAController) {
    killedRun();
    const int alive = getpid();
    inChild([alive] {
        auto* registry = static_cast<char*>(ShmOpen(0, 1600, 0, nullptr, 0));
        ASSERT_NE(registry, nullptr);
        std::memcpy(registry, &alive, sizeof alive);  // the entry of "VsBASE"
        ShmClose(registry);
    });
    EXPECT_EQ(enter(), 3) << "another database in the left registry";
    // The number of the killed process may belong to another program by now. The lock on the record
    // shows that the run has ended.
    inChild([&] {
        sim::Record record(temporary.path(".zrtsim-record"));
        ASSERT_EQ(record.takeOver(), sim::Record::Lock::held);
        ASSERT_TRUE(record.noteOwner(alive));
    });
    EXPECT_EQ(enter(), 0) << refusal;
    EXPECT_EQ(TemporarySite::objects(), 0U);
}

TEST_F(SiteTest, SegmentsOfOthersUnderOurKeysAreRefused) {
    inChild([&] {
        sim::Site site(sim::controllerFolders(), messages);
        occupy(site);
        // Index 63 of generation 0 lies in "/proxy" with the character at place 63 of the table.
        const key_t key = SemKey(0) - ('a' << 24) + (symb[63] << 24);
        const int foreign = shmget(key, 16, IPC_CREAT | IPC_EXCL | 0600);
        ASSERT_NE(foreign, -1);
        try {
            const sim::ControllerIpc ipc(site.record(), 0);
            ADD_FAILURE() << "started";
        } catch (const sim::Failure& failure) {
            EXPECT_EQ(failure.code(), sim::ExitCode::foreign);
            EXPECT_NE(std::string(failure.what()).find("63"), std::string::npos) << failure.what();
        }
        EXPECT_EQ(TemporarySite::objects(), 1U) << "only the foreign one is left";
        shmctl(foreign, IPC_RMID, nullptr);
    });
    EXPECT_TRUE(temporary.entries().empty());
}

TEST_F(SiteTest, FreshReplacesAnEditedSettingAndWhatWasSaved) {
    std::filesystem::create_directories(temporary.path("log"));
    for (const bool fresh : {false, true}) {
        inChild([&] {
            sim::Site site(sim::controllerFolders(), messages);
            occupy(site, fresh);
            EXPECT_EQ(temporary.read("settings/opcuasrv.ini"), "sample");
            if (!fresh) temporary.write("settings/opcuasrv.ini", "edited");
            EXPECT_EQ(temporary.read("trends/archive.db"), "");
            site.adoptSavedFile(site.folders().trendArchive());
            temporary.write("trends/archive.db", "values");
        });
        EXPECT_EQ(std::filesystem::exists(temporary.path("settings/opcuasrv.ini")), !fresh);
    }
    EXPECT_EQ(enter(true), 0) << refusal;
    EXPECT_EQ(temporary.entries(), std::set<std::string>{"log"}) << "also what earlier runs made";
}

TEST_F(SiteTest, AnEditedKeyFileIsRefusedUnlessFresh) {
    killedRun();
    temporary.write("vskontr", "edited");
    EXPECT_EQ(enter(), 4);
    EXPECT_NE(refusal.find("--fresh"), std::string::npos) << refusal;
    EXPECT_EQ(temporary.read("vskontr"), "edited");
    EXPECT_EQ(enter(true), 0) << refusal;
    EXPECT_TRUE(temporary.entries().empty());
}

TEST_F(SiteTest, FoldersOfTheUserAndFullOnesStay) {
    std::filesystem::create_directories(temporary.path("settings"));
    inChild([&] {
        sim::Site site(sim::controllerFolders(), messages);
        occupy(site);
        temporary.write("log/opcuasrv.log", "of the server");
    });
    EXPECT_EQ(temporary.entries(), (std::set<std::string>{"log", "log/opcuasrv.log", "settings"}));
}

TEST_F(SiteTest, AMissingInstallationFolderIsNotMade) {
    const auto root = temporary.path("");
    std::filesystem::remove_all(root);
    EXPECT_EQ(enter(), 1);
    EXPECT_FALSE(std::filesystem::exists(root));
}

}  // namespace
