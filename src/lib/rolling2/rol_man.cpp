#include "lib/rolling2/rol_man.h"

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

/// KEPT: the object is never destroyed, for its maker's destructor would remove the set and the
/// next user would count as the journal's first.
static vs_sem* openSemaphore() {
    constexpr unsigned kPermissions = 0666;
    static auto& kept = *new std::vector<std::unique_ptr<vs_sem>>;
    kept.push_back(std::make_unique<vs_sem>(kRolSemaphore, kPermissions));
    return kept.back().get();
}

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
    // The semaphore can be taken by another process as soon as it is made. One that was quicker has
    // filled the ring, and may have posted to it.
    isFirst_ = already_init == 0 && (hadRing || !IpcFind(IpcKind::segment, ringKey));
    if (const int error = OpenShareBlock(); error != kRolDone) return error;
    CurMessage.SetPoz24(*rol_poz_24 != 0);
    // Whoever had to make the ring is the first, too, though it found a semaphore: of that quicker
    // kind, or after a removal that left the semaphore.
    if (isFirst_ || ringIsNew_) {
        static_cast<void>(loadBest());  // reported; without a copy the ring stays as it is
        *SaveRol = 2;
        *flagNewMessages = 0;
    }
    CurIndexSeq = newest();
    return kRolDone;
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
        // A path cut short would be another file.
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

/// Attaches a segment of the journal, or makes it and sets its initial value.
/// @return kRolDone or its IPC index
template <class T, class Initial>
int CRolManager::openOwn(int index, std::size_t size, int& id, T*& address,
                         const Initial& initial) {
    address = static_cast<T*>(ShmOpen(index, size, kAttachOnly, &id, 0));
    if (address != nullptr) return kRolDone;
    address = static_cast<T*>(ShmOpen(index, size, kCreate, &id, 0));
    if (address == nullptr) return index;
    initial(*address);
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
    const auto zero = [](auto&) {};  // a new segment is zeroed

    int error = openOwn(kRolVersion, sizeof(SRolVersion), id_RolVersion, RolVersion,
                        [](SRolVersion& version) {
                            version = {2, 1};
                        });
    const auto open = [&](int index, std::size_t size, int& id, auto*& address,
                          const auto& initial) {
        if (error == kRolDone) error = openOwn(index, size, id, address, initial);
    };
    open(kRolRing, ringSize, id_Messages, Messages, [this](auto&) { ringIsNew_ = true; });
    open(kRolMessageCounter, 2, id_MessageCounter, MessageCounter, zero);
    open(kRolLastIndex, 2, id_LastIndex, LastIndex, zero);
    open(kRolSaveRol, 1, id_SaveRol, SaveRol, [](char& isOn) { isOn = 2; });
    open(kRolCurSavePlace, 1, id_CurSavePlace, CurSavePlace, zero);
    open(kRolNewMessages, 4, id_flagNewMessages, flagNewMessages, zero);
    open(kRolUdpVersion, 1, id_UDPProtocolVersion, UDPProtocolVersion,
         [](char& version) { version = 1; });
    open(kRolReaderCounters, sizeof(SCntRolPerSock), id_CntRolPerSock, CntRolPerSock, zero);
    if (error != kRolDone) return error;

    slots_ = IniFileSettings->NumMessagesInMemory;
    int unused = -1;
    openForeign(kRolPosition24, 1, unused, rol_poz_24);
    if (rol_poz_24 == nullptr) rol_poz_24 = &rol_default_poz24;
    return openDictionaries();
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
    if (const int error = openOwn(kRolSettings, sizeof(SRolIniFileSettings), id_IniFileSettings,
                                  IniFileSettings, [this](auto&) { settingsAreNew_ = true; });
        error != kRolDone)
        return error;
    const std::string path = std::string(SRV_Path.SETTINGS) + "/veskkntr.ini";
    RolReadController(path.c_str(), ControllerNumber);
    SRolIniFileSettings settings = *IniFileSettings;
    if (isFirst_ || settingsAreNew_) settings = RolReadSettings(path.c_str());
    RolCorrectSettings(settings);
    *IniFileSettings = settings;
    return kRolDone;
}

// ---- Leaving -----------------------------------------------------------------------------------

void CRolManager::Close() {
    {
        const std::lock_guard guard(saveMutex_);
        static_cast<void>(waitForWriter());  // reported by the writer
    }
    const std::lock_guard guard(mutex_);
    detachAll();
    isFirst_ = ringIsNew_ = settingsAreNew_ = false;
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
