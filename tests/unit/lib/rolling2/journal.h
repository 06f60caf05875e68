#pragma once

#include "lib/rolling2/rol_man.h"
#include "lib/util/cp866_text.h"
#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "tests/support/child_process.h"
#include "tests/support/files.h"
#include "tests/support/vesk_path.h"

/// A segment of the journal as seen by another program: bytes at offsets. Made when `bytes` is not
/// 0 and there is none.
class RawSegment {
  public:
    explicit RawSegment(int index, std::size_t bytes = 0) {
        const int id = shmget(ShmKey(index, 0), bytes, bytes != 0 ? IPC_CREAT | 0777 : 0777);
        shmid_ds info{};
        if (id == -1 || shmctl(id, IPC_STAT, &info) == -1) return;
        size_ = info.shm_segsz;
        at_.reset(shmat(id, nullptr, 0));
    }

    std::size_t size() const { return size_; }
    template <class T>
    T get(std::size_t offset) const {
        T value{};
        std::memcpy(&value, bytes() + offset, sizeof(value));
        return value;
    }
    template <class T>
    void put(std::size_t offset, T value) const {
        std::memcpy(bytes() + offset, &value, sizeof(value));
    }
    std::string text(std::size_t offset, std::size_t length) const {
        return {bytes() + offset, length};
    }

  private:
    char* bytes() const { return static_cast<char*>(at_.get()); }

    std::size_t size_ = 0;
    ShmPtr at_;
};

inline std::string little(std::uint64_t value, int bytes) {
    std::string text;
    for (; bytes > 0; --bytes, value >>= 8U)
        text += static_cast<char>(value & 0xFFU);
    return text;
}

/// A message as in a file, laid by hand: stamp, date, dictionary and code, no variable, arguments.
/// @param args  their bytes
inline std::string rawMessage(unsigned code, unsigned argCount = 0, const std::string& args = "") {
    return little(code, 4) + little(0, 4) + little(1'700'000'000, 4) + little(250, 2) +
           little(301, 4) + little(code, 4) + "\xFF\xFF\xFF" + little(argCount, 1) + args;
}

/// Contents of a messages file; `count` and `last` as given, whatever follows.
inline std::string messagesFile(unsigned count, unsigned last, const std::string& messages) {
    return "veskrol2.1" + little(count, 2) + little(last, 2) + messages;
}
/// With messages of the codes `from` to `to`.
inline std::string messagesFile(unsigned from, unsigned to) {
    std::string messages;
    for (unsigned code = from; code <= to; ++code)
        messages += rawMessage(code);
    return messagesFile(to - from + 1, to - from, messages);
}

/// An installation without a journal: key files, settings and the folders of the journal's files.
class JournalTest : public testing::Test {
  protected:
    enum Copy : std::size_t { main, reserve };
    static constexpr const char* kMessages[] = {"dat/rolling2.dat", "rezerv/rolling2.dat"};
    static constexpr const char* kCounters[] = {"dat/cntroll2.dat", "rezerv/cntroll2.dat"};
    static constexpr const char* kCrc[] = {"check/chk_rol2.dat", "check/chk_rol2.rez"};

    JournalTest() {
        for (const char* name : {"dat", "rezerv", "check", "settings"})
            std::filesystem::create_directories(path(name));
        setenv("PATHDB", path("").c_str(), 1);
        setenv("DIC", "/dictionaries", 1);
        setenv("SETTINGS", path("settings").c_str(), 1);
        SRV_Path.InitPathes();
        settings(
            "[StartSetup]\nNumber_kontr=7\n[ROLLING]\nMaxNumMessageMemory=20\nMaxNumMessageDisk="
            "10\n");
        // Without the generation byte every key would complain of it.
        RawSegment(kGenerationIpcIndex, 1).put<std::uint8_t>(0, 7);
    }
    ~JournalTest() override {
        for (const char* name : {"PATHDB", "DIC", "SETTINGS"})
            unsetenv(name);
        SRV_Path.InitPathes();
    }

    void settings(const std::string& text) const { write("settings/veskkntr.ini", text); }
    /// Of a file below PATHDB (a folder "rezerv" would have the name of a key file).
    std::string path(const std::string& name) const {
        return (vesk.folder() / "sram").string() + (name.empty() ? "" : "/") + name;
    }
    void write(const std::string& name, const std::string& bytes) const {
        writeFile(path(name), bytes);
    }
    std::string read(const std::string& name) const { return readFile(path(name)); }
    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

    /// Which files there are: messages, counters, CRC of the main copy, then of the reserve.
    std::string files() const {
        std::string all;
        for (const Copy copy : {main, reserve})
            for (const char* name : {kMessages[copy], kCounters[copy], kCrc[copy]})
                all += exists(name) ? '1' : '0';
        return all;
    }

    /// What a power cut leaves: the files.
    static void removeShared() {
        for (const int index : kRolOwnSegments)
            if (const auto found = IpcFind(IpcKind::segment, ShmKey(index, 0)))
                IpcRemove(IpcKind::segment, found->id);
        if (const auto found = IpcFind(IpcKind::semaphore, SemKey(kRolSemaphore)))
            IpcRemove(IpcKind::semaphore, found->id);
    }

    /// Codes of the messages in the ring, oldest first.
    static std::vector<unsigned> codes(CRolManager& journal) {
        std::vector<unsigned> all;
        if (journal.GoFirstMes() != 0) return all;
        do {
            all.push_back(journal.CurMessage.Message.MessageCode + 0U);  // a copy: it is packed
        } while (journal.GetNextMes() == 0);
        return all;
    }
    /// Joins, quietly.
    static void join(CRolManager& journal) {
        const Capture quiet(STDOUT_FILENO);
        ASSERT_EQ(journal.Init(), 0);
    }
    static void post(CRolManager& journal, unsigned from, unsigned to) {
        for (unsigned code = from; code <= to; ++code)
            ASSERT_EQ(journal.Message(code, new CRolArg(RT_END)), 0);
    }

    VeskPath vesk;
};

/// With an empty journal that the test has joined.
class JoinedJournal : public JournalTest {
  protected:
    JoinedJournal() { join(journal); }

    CRolManager journal;
};

/// from, from + 1, ... to
inline std::vector<unsigned> upTo(unsigned from, unsigned to) {
    std::vector<unsigned> all(to + 1 - from);
    std::iota(all.begin(), all.end(), from);
    return all;
}
