#include "lib/rolling2/rol_man.h"

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "lib/rolling2/rol_lock.h"
#include "lib/rolling2/rol_report.h"
#include "lib/rolling2/rol_settings.h"
#include "lib/util/crc.h"
#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "lib/util/veskpath.h"

char CRolManager::rol_default_poz24 = 0;

CRolManager::CRolManager() = default;

CRolManager::~CRolManager() {
    Close();
}

// ---- Joining -----------------------------------------------------------------------------------

namespace {

/// KEPT: the object is never destroyed. The destructor of its maker would remove the set, and the
/// next process would behave as the journal's first. Required by the interface.
vs_sem* openSemaphore() {
    constexpr unsigned kPermissions = 0666;
    static auto& kept = *new std::vector<std::unique_ptr<vs_sem>>;
    kept.push_back(std::make_unique<vs_sem>(kRolSemaphore, kPermissions));
    return kept.back().get();
}

}  // namespace

int CRolManager::Init() {
    Close();
    buildPaths();
    const key_t ringKey = ShmKey(kRolRing, 0);
    const bool hadRing = IpcFind(IpcKind::segment, ringKey).has_value();
    Rol2Sem = openSemaphore();
    already_init = Rol2Sem->is_created() != 0 ? 0 : 1;

    const int error = join(ringKey, hadRing);
    if (error != kRolDone) {
        RolReport(RolText::sharedMemoryFailed, {.code = error});
        Close();
    }
    return error;
}

/// @param hadRing  the ring was there before the semaphore was opened
int CRolManager::join(key_t ringKey, bool hadRing) {
    const Lock lock(*this);
    // Another process can take the semaphore as soon as it exists. If it was quicker, it has
    // already filled the ring and may have posted to it.
    isFirst_ = already_init == 0 && (hadRing || !IpcFind(IpcKind::segment, ringKey));
    if (const int error = OpenShareBlock(); error != kRolDone) return error;
    CurMessage.SetPoz24(*rol_poz_24 != 0);
    // A process that had to make the ring counts as the first one too, even if it found a
    // semaphore: its maker was not quick enough, or a removal left the semaphore behind.
    const bool begins = isFirst_ || ringIsNew_;
    if (ringIsNew_) *MessageCounter = *LastIndex = 0;  // they may belong to an earlier ring
    // Failures are reported there. Without a copy the ring stays as it is.
    if (begins || isLeftUnfilled()) static_cast<void>(loadBest());
    if (begins) {
        *SaveRol = 2;
        *flagNewMessages = 0;
    }
    CurIndexSeq = newest();
    return kRolDone;
}

/// True when a process died between making the ring and filling it: the ring is empty although
/// files exist, and a process that loads them either fills the ring or erases unusable ones.
bool CRolManager::isLeftUnfilled() const {
    const auto exists = [](const char* path) { return access(path, F_OK) == 0; };
    return *MessageCounter == 0 && (exists(Rol2Path) || exists(Rol2PathRez));
}

void CRolManager::buildPaths() {
    const struct {
        char (&path)[100];
        const char* format;
        const char* name;
    } rows[] = {
        {Rol2Path, "%s/dat/%s", "rolling2.dat"},
        {CntRol2Path, "%s/dat/%s", "cntroll2.dat"},
        {Rol2PathRez, "%s/rezerv/%s", "rolling2.dat"},
        {CntRol2PathRez, "%s/rezerv/%s", "cntroll2.dat"},
        {Rol2CRCPath, "%s/%s", kCrcFileRol},
        {Rol2CRCPathRez, "%s/%s", kCrcFileRolRez},
    };
    for (const auto& row : rows) {
        const int length =
            std::snprintf(row.path, sizeof(row.path), row.format, SRV_Path.PATHDB, row.name);
        // A truncated path would name another file.
        if (length < 0 || static_cast<std::size_t>(length) >= sizeof(row.path)) row.path[0] = '\0';
    }
}

CRolManager::CopyFiles CRolManager::filesOf(Copy copy) const {
    if (copy == Copy::main) return {Rol2Path, CntRol2Path, Rol2CRCPath};
    return {Rol2PathRez, CntRol2PathRez, Rol2CRCPathRez};
}

// ---- Segments ----------------------------------------------------------------------------------

namespace {
constexpr unsigned kAttachOnly = 0;
constexpr unsigned kCreate = 64;
}  // namespace

/// Attaches a segment of the journal, or makes it: zeroed.
/// @param isNew  becomes true when it was made
/// @return kRolDone or its IPC index
template <class T>
int CRolManager::openOwn(int index, std::size_t size, int& id, T*& address, bool& isNew) {
    address = static_cast<T*>(ShmOpen(index, size, kAttachOnly, &id, 0));
    if (address != nullptr) return kRolDone;
    address = static_cast<T*>(ShmOpen(index, size, kCreate, &id, 0));
    if (address == nullptr) return index;
    isNew = true;
    return kRolDone;
}

/// Attaches a segment that belongs to another process, if it is there.
template <class T>
void CRolManager::openForeign(int index, std::size_t size, int& id, T*& address) {
    address = static_cast<T*>(ShmOpen(index, size, kAttachOnly, &id, 0));
}

int CRolManager::OpenShareBlock() {
    if (const int error = ReadIniFile(); error != kRolDone) return error;
    const std::size_t ringSize = IniFileSettings->NumMessagesInMemory * sizeof(SRolMessage);
    int error = kRolDone;
    bool unused = false;
    bool udpIsNew = false;
    const auto open = [&](int index, std::size_t size, int& id, auto*& address, bool& isNew) {
        if (error == kRolDone) error = openOwn(index, size, id, address, isNew);
    };
    open(kRolVersion, sizeof(SRolVersion), id_RolVersion, RolVersion, unused);
    open(kRolRing, ringSize, id_Messages, Messages, ringIsNew_);
    open(kRolMessageCounter, 2, id_MessageCounter, MessageCounter, unused);
    open(kRolLastIndex, 2, id_LastIndex, LastIndex, unused);
    open(kRolSaveRol, 1, id_SaveRol, SaveRol, unused);
    open(kRolCurSavePlace, 1, id_CurSavePlace, CurSavePlace, unused);
    open(kRolNewMessages, 4, id_flagNewMessages, flagNewMessages, unused);
    open(kRolUdpVersion, 1, id_UDPProtocolVersion, UDPProtocolVersion, udpIsNew);
    open(kRolReaderCounters, sizeof(SCntRolPerSock), id_CntRolPerSock, CntRolPerSock, unused);
    if (error != kRolDone) return error;
    setInitialValues(udpIsNew);

    slots_ = IniFileSettings->NumMessagesInMemory;
    int id = -1;
    openForeign(kRolPosition24, 1, id, rol_poz_24);
    if (rol_poz_24 == nullptr) rol_poz_24 = &rol_default_poz24;
    return openDictionaries();
}

/// Fills segments that are still zero: they are new, or their maker died before this step.
void CRolManager::setInitialValues(bool udpIsNew) {
    if (RolVersion->Major == 0) *RolVersion = {2, 1};
    if (*SaveRol == 0) *SaveRol = 2;
    // Other processes may set this one to 0; only if the ring is empty may its maker have died.
    if (udpIsNew || (*UDPProtocolVersion == 0 && *MessageCounter == 0)) *UDPProtocolVersion = 1;
}

int CRolManager::openDictionaries() {
    openForeign(kRolVariableCounts, kRolVariableCountsSize, id_NumVar, NumVar);
    if (NumVar == nullptr) return kRolDone;
    const struct {
        int& id;
        char*& address;
    } dictionaries[kRolDictionaries] = {{id_VADict, VADict},
                                        {id_AVDict, AVDict},
                                        {id_HIDict, HIDict},
                                        {id_DIDict, DIDict},
                                        {id_DODict, DODict}};
    for (int i = 0; const auto& dictionary : dictionaries) {
        const std::uint16_t count = NumVar[i];
        openForeign(kRolFirstDictionary + i, count * kRolDictionaryEntry, dictionary.id,
                    dictionary.address);
        dictionaryCounts_.at(static_cast<std::size_t>(i++)) = count;
    }
    return kRolDone;
}

int CRolManager::ReadIniFile() {
    bool unused = false;
    if (const int error = openOwn(kRolSettings, sizeof(SRolIniFileSettings), id_IniFileSettings,
                                  IniFileSettings, unused);
        error != kRolDone)
        return error;
    const std::string path = std::string(SRV_Path.SETTINGS) + "/veskkntr.ini";
    RolReadController(path.c_str(), ControllerNumber);
    if (!isFirst_ && RolSettingsAreFilled(*IniFileSettings)) return kRolDone;
    SRolIniFileSettings settings = RolReadSettings(path.c_str());
    RolCorrectSettings(settings);
    if (!isFirst_) keepRing(settings);
    RolFillSettings(settings, *IniFileSettings);
    return kRolDone;
}

/// An existing ring keeps its size, even if the settings file has changed since.
void CRolManager::keepRing(SRolIniFileSettings& settings) {
    const auto ring = IpcFind(IpcKind::segment, ShmKey(kRolRing, 0));
    const std::size_t slots = ring ? ring->size / sizeof(SRolMessage) : 0;
    if (slots > UINT16_MAX) return;
    SRolIniFileSettings kept = settings;
    kept.NumMessagesInMemory = static_cast<std::uint16_t>(slots);
    RolCorrectSettings(kept);
    if (kept.NumMessagesInMemory == slots) settings = kept;
}

// ---- Leaving -----------------------------------------------------------------------------------

void CRolManager::Close() {
    {
        const std::lock_guard guard(saveMutex_);
        static_cast<void>(waitForWriter());  // reported by the writer
    }
    const std::lock_guard guard(mutex_);
    detachAll();
    isFirst_ = ringIsNew_ = false;
    slots_ = 0;
}

void CRolManager::detachAll() {
    const auto detach = [](auto*& address) {
        static_cast<void>(ShmClose(address));
        address = nullptr;
    };
    if (rol_poz_24 == &rol_default_poz24) rol_poz_24 = nullptr;
    detach(IniFileSettings);
    detach(RolVersion);
    detach(MessageCounter);
    detach(LastIndex);
    detach(Messages);
    detach(CntRolPerSock);
    detach(SaveRol);
    detach(CurSavePlace);
    detach(flagNewMessages);
    detach(UDPProtocolVersion);
    detach(rol_poz_24);
    detach(NumVar);
    detach(VADict);
    detach(AVDict);
    detach(HIDict);
    detach(DIDict);
    detach(DODict);
}
