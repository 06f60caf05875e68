#pragma once

#include <pthread.h>
#include <sys/time.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "lib/rolling2/rol_mes.h"
#include "lib/rolling2/rol_shared.h"
#include "lib/util/vs_sem.h"

/// A process's access to the controller's event journal: a ring of messages in shared memory, which
/// every process appends to and one process (the saver) copies to files.
///
/// Init joins the journal, or makes it and loads the saved one. Nothing here ever removes a segment
/// or the semaphore: the journal outlives its processes, and a process that starts after a removal
/// would load files that are older than the ring was.
///
/// Operations return numbers of RolError and print fixed lines (rol_report.h). They throw nothing
/// but std::bad_alloc while loading. Posting, counters, GetRawData and saving may be called from
/// any thread; Init, Close and the cursor (GoFirstMes ... Print) from one.
class CRolManager {
  public:
    CRolManager();
    /// As Close.
    ~CRolManager();
    CRolManager(const CRolManager&) = delete;
    CRolManager& operator=(const CRolManager&) = delete;

    /// Joins the journal. The first process makes it, reads the settings from veskkntr.ini below
    /// SETTINGS, and loads the saved messages. If it dies before that is done, the next process
    /// completes it.
    /// @return 0, or the IPC index of the segment that could not be attached (reported)
    int Init();
    /// Non-zero when the journal's semaphore was there before Init.
    char is_already_init() const { return already_init; }
    /// Waits for a save that runs, and detaches. Init may follow.
    void Close();

    // ---- Posting (rol_post.cpp) ----
    //
    // The arguments are pointers to CRolArg made with new, the last one of type RT_END; they are
    // always deleted. A message that cannot be built (RolError) is replaced by one that names it.
    // `number` is an int where C requires it (before "..."); the record has 16 bits.
    // @return 0; an error when nothing was posted (reported, the ring is as before)

    /// Posts to the system dictionary of the settings.
    int Message(unsigned long code, ...);
    int MessageD(unsigned long dictionary, unsigned long code, ...);
    /// @param type, number  the database variable that the message is about
    int MessageWithVar(unsigned long code, signed char type, int number, ...);
    int MessageWithVarD(unsigned long dictionary, unsigned long code, signed char type, int number,
                        ...);
    /// @param time  of the event, UTC; null: now
    int MessageWithVarAndTime(const timeval* time, unsigned long code, signed char type, int number,
                              ...);
    /// @param arguments  an array that ends with an element of type RT_END; stays the caller's
    int VeskolMessage(unsigned long dictionary, unsigned long code, signed char type, short number,
                      const CRolArg* arguments);
    int VeskolMessageWithTime(const timeval* time, unsigned long dictionary, unsigned long code,
                              signed char type, short number, const CRolArg* arguments);
    int Message2(const timeval* time, unsigned long dictionary, unsigned long code,
                 signed char type, short number, va_list* arguments);

    // ---- Ring and readers' counters ----

    /// (a + b) mod n and (a - b) mod n. 0 for n = 0.
    static unsigned CycPlus(unsigned a, unsigned b, unsigned n);
    static unsigned CycMinus(unsigned a, unsigned b, unsigned n);

    /// Adds to each of the eight counters of unread messages, up to the ring's capacity.
    void IncCounters(int count);
    /// @param reader  0 to 7. KEPT: 8 addresses the four bytes after the counters, which belong to
    ///                other processes; required by the interface. For other numbers the result is 0
    ///                and nothing changes.
    unsigned GetCounter(int reader) const;
    /// Takes from a counter, down to 0.
    void DecCounter(int reader, int count);

    // ---- Files (rol_save.cpp, rol_load.cpp) ----

    /// Saves in a thread of its own when something was posted since the last save and saving is on;
    /// main and reserve files take turns. Does nothing while the previous save is still running.
    /// @return 0; kRolNoMemory, kRolNoThread
    int Save();
    /// Saves even when nothing is new, and waits for the result. Nothing is written while saving is
    /// off or the ring is empty.
    /// @return 0; kRolCannotOpen, kRolShortWrite or kRolNotOnDisk (reported); kRolNoMemory or
    ///         kRolNoThread
    int ForceSave();
    /// Save one copy now, out of its turn. As ForceSave otherwise.
    int SaveMainRolling();
    int SaveRezRolling();
    /// The writer thread's function: writes the last snapshot, once. Started by Save and the
    /// others; must not run at the same time as one of them.
    /// @param manager  CRolManager whose save this is
    /// @return result of the save, as a number in the pointer
    static void* SaveRollThread(void* manager);

    /// 1 turns saving on, unless the settings keep no message in files; anything else off.
    void SetSaveRol(char isOn);
    /// 1 on, 2 off.
    char GetSaveRol() const;

    /// Replaces the ring by the newer of the saved copies, or by the other one when it cannot be
    /// read. Copies that cannot be read are erased. See docs/journal.md for the choice.
    /// @return 0 when a whole copy was loaded
    int Load();
    /// Replace the ring by one copy. A copy that cannot be read is reported and changes nothing.
    int LoadMainRolling();
    int LoadRezRolling();

    /// Remove the files of a copy: messages, counters, CRC.
    void EraseMainRollingFiles();
    void EraseRezRollingFiles();
    void EraseRollingFiles();

    // ---- Reading (rol_read.cpp) ----

    /// Copies messages in raw form without their stamp, from slot `from` to the newest one, as many
    /// as fit into `size` bytes.
    /// @return number of messages; 0 also for a slot that holds none
    unsigned GetRawData(char* buffer, unsigned short from, unsigned long size);
    /// KEPT: changes nothing. Required by the interface.
    static void CorrectTime(TFullTime& date);

    /// Set the cursor and copy its message to CurMessage.
    /// @return 0; -1 when there is no such message: cursor and CurMessage stay
    int GoFirstMes();
    int GoMes(unsigned short slot);
    int GetNextMes();
    int GetPrevMes();
    /// CurMessage as a line of CP866 text without a line feed, see
    /// CRolMessageInterface::MakeString.
    /// @param size  of the buffer, at least 1; a longer line is cut
    /// @return length of the line
    int MakeString(char* buffer, unsigned long size) const;
    /// MakeString, and a line feed, to standard output.
    void Print() const;

    /// Converts variable types between journal and database: 1, 2, 3, 6 and 8 are the same in both.
    /// @return -1 and 0, respectively, for others
    static signed char ConvertTypeVar_VskontrToRol2(signed char type);
    static signed char ConvertTypeVar_Rol2ToVskontr(signed char type);

    // Names and order as the controller's other code has them. Addresses are null while not
    // attached. Ids of segments are -1 until the first Init and keep their last values after Close.
    char already_init = 0;
    int id_RolVersion = -1;
    int id_Messages = -1;
    int id_IniFileSettings = -1;
    int id_MessageCounter = -1;
    int id_LastIndex = -1;
    int id_CntRolPerSock = -1;
    int id_SaveRol = -1;
    int id_CurSavePlace = -1;
    int id_flagNewMessages = -1;
    int id_UDPProtocolVersion = -1;
    int id_NumVar = -1;
    int id_VADict = -1;
    int id_AVDict = -1;
    int id_HIDict = -1;
    int id_DIDict = -1;
    int id_DODict = -1;
    int chpid = 0;  ///< declared, not used: saving takes a thread, not a process
    char Rol2Path[100]{};
    char CntRol2Path[100]{};
    char Rol2PathRez[100]{};
    char CntRol2PathRez[100]{};
    char Rol2CRCPath[100]{};
    char Rol2CRCPathRez[100]{};
    SRolIniFileSettings* IniFileSettings = nullptr;
    SRolVersion* RolVersion = nullptr;
    std::uint16_t* MessageCounter = nullptr;  ///< messages in the ring
    std::uint16_t* LastIndex = nullptr;       ///< slot of the newest one
    SRolMessage* Messages = nullptr;          ///< the ring
    SCntRolPerSock* CntRolPerSock = nullptr;
    char* SaveRol = nullptr;       ///< 1 saving is on, 2 off
    char* CurSavePlace = nullptr;  ///< the next save goes to the main files (0) or the reserve (1)
    std::uint32_t* flagNewMessages = nullptr;  ///< something was posted since the last save
    char* UDPProtocolVersion = nullptr;
    vs_sem* Rol2Sem = nullptr;   ///< guards all of the above, for all processes; never destroyed
    char* rol_poz_24 = nullptr;  ///< position flag; not null between Init and Close
    std::uint16_t* NumVar = nullptr;
    char* VADict = nullptr;  ///< designations of the variables by number, 8 bytes each
    char* AVDict = nullptr;
    char* HIDict = nullptr;
    char* DIDict = nullptr;
    char* DODict = nullptr;
    std::uint64_t CurIndexSeq = 0;      ///< slot of the cursor
    CRolMessageInterface CurMessage{};  ///< message at the cursor
    std::int16_t ControllerNumber = 0;
    /// Stands in for the shared position flag.
    static char rol_default_poz24;

  private:
    enum class Copy : std::uint8_t { main, reserve };
    struct CopyFiles {
        const char* messages;
        const char* counters;
        const char* crc;
    };
    class Lock;

    // Joining (rol_man.cpp)
    void buildPaths();
    int OpenShareBlock();
    int ReadIniFile();
    int openDictionaries();
    template <class T>
    int openOwn(int index, std::size_t size, int& id, T*& address, bool& isNew);
    template <class T>
    void openForeign(int index, std::size_t size, int& id, T*& address);
    int join(key_t ringKey, bool hadRing);
    bool isLeftUnfilled() const;
    void setInitialValues(bool udpIsNew);
    static void keepRing(SRolIniFileSettings& settings);
    void detachAll();
    CopyFiles filesOf(Copy copy) const;

    // Under the lock
    std::uint16_t capacity() const;
    std::uint16_t newest() const;
    std::uint16_t held() const;
    std::uint16_t oldest() const;
    bool holds(unsigned slot) const;
    void append(const SRolMessage& message);
    void addToCounters(unsigned count);
    void stamp(SRolMessage& message, const timeval* time) const;
    int post(const timeval* time, CRolMessageInterface& message, int buildError);
    int goTo(unsigned slot);
    std::size_t snapshotMessages(unsigned count, std::uint8_t* image) const;
    int snapshot(Copy copy);
    int snapshotNext();

    // Saving; under saveMutex_
    int saveAndWait(int (CRolManager::*take)());
    int snapshotMain() { return snapshot(Copy::main); }
    int snapshotReserve() { return snapshot(Copy::reserve); }
    int startWriter();
    int waitForWriter();
    int writeSnapshot();

    // Loading; under the lock
    struct LoadedCopy;
    LoadedCopy readCopy(Copy copy) const;
    void fillRing(const LoadedCopy& copy);
    void fillCounters(const LoadedCopy& copy);
    int loadOne(Copy copy);
    int loadBest();
    void erase(Copy copy) const;

    /// What the writer writes. Filled under saveMutex_ while no writer runs, then the writer's.
    struct Snapshot {
        bool isNew = false;
        CopyFiles files{};
        std::unique_ptr<std::uint8_t[]> image;
        std::size_t imageRoom = 0;
        std::size_t imageSize = 0;
        std::array<std::uint32_t, kRolReaders> counters{};
    };

    std::mutex mutex_;         ///< threads of this process; the semaphore keeps processes apart
    std::uint16_t slots_ = 0;  ///< of the attached ring; constant after Init
    bool isFirst_ = false;     ///< Init found a journal that nobody uses yet
    bool ringIsNew_ = false;   ///< Init made the ring
    std::array<std::uint16_t, kRolDictionaries> dictionaryCounts_{};  ///< as attached
    std::mutex saveMutex_;                                            ///< guards the rest
    Snapshot snapshot_;
    pthread_t writer_{};
    bool writerStarted_ = false;            ///< and not joined
    std::atomic<bool> writerRuns_ = false;  ///< also read by Save without waiting for the writer
};
