#include "lib/bd_vesk/bdvesk.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "lib/bd_vesk/bdmessages.h"
#include "lib/util/qnx_calls.h"
#include "lib/util/shmem.h"
#include "lib/util/veskpath.h"

CVeskBDSh::CVeskBDSh(std::uint16_t channel) : TQManager(nullptr), NumCnl(channel) {
    std::snprintf(LinkFile, sizeof(LinkFile), "%s%s", SRV_Path.SYSTEM, LinkFileName);
    std::snprintf(LinkFileType, sizeof(LinkFileType), "%s%s", SRV_Path.SYSTEM, LinkFileNameType);
}

CVeskBDSh::~CVeskBDSh() {
    releaseTables();
}

void CVeskBDSh::releaseTables() {
    for (int i = 0; i < kTypeCount; ++i)
        delete bd_vs.itemAt(i);
    bd_vs.clear();
    segmentIds_.clear();
}

// ---- Loading -----------------------------------------------------------------------------------

void CVeskBDSh::LoadBD() {
    if (NumCnl != 0) {
        std::printf("Sorry. Featcher not supported.");
        std::fflush(stdout);  // the signal ends the process without flushing its buffers
        static_cast<void>(std::raise(SIGTERM));
        return;
    }
    findDatabase();
    releaseTables();
    loadTables();
    // Without descriptions the values themselves can still be read.
    static_cast<void>(LoadOffAtr());
    // Without the table every time and quality reads as 0, which means Bad.
    if (TQInit(0) == 0) segmentIds_.push_back(TQSegmentId());
    planReads();
}

/// Fills readPlans_ from the tables, the descriptions and the time-quality-flags table.
void CVeskBDSh::planReads() {
    for (std::size_t index = 0; index < readPlans_.size(); ++index) {
        ReadPlan& plan = readPlans_[index];
        plan = {};
        plan.places = places_[index].data();
        plan.placeCount = static_cast<std::uint32_t>(places_[index].size());
        if (TQF* const first = TQGetTQFPointer(static_cast<char>(index), 0); first != nullptr) {
            plan.tqf = first;
            plan.tqfCount = counts_[index];
            plan.tqfCountNow = TQNumVar + index;
        }
        CTypeVars* const table = getTypeVars(kTables[index].code);
        const TableRow* const inPlace = table != nullptr ? tableRow(table->typeAt()) : nullptr;
        if (inPlace == nullptr) continue;
        plan.records = static_cast<const std::uint8_t*>(table->getAdrPasp(1));
        plan.recordSize = static_cast<std::uint32_t>(inPlace->passportSize);
        plan.recordCount = plan.records != nullptr ? table->maxnumAt() : 0;
    }
}

namespace {

int locate(const char* name) {
    return qnx_name_locate(0, name, 0, nullptr);
}

}  // namespace

void CVeskBDSh::findDatabase() {
    PidBD = locate(kDatabaseName);
    if (PidBD != -1) return;
    delay(1000);
    PidBD = locate(kDatabaseName);
    if (PidBD != -1) return;
    std::printf("No Base in lib");
    std::exit(-1);
}

namespace {

bool ask(int pid, DB_COMMAND command, std::uint32_t type, DB_REPLY& reply) {
    DB_REQUEST request{command, type, {}};
    return Send(pid, &request, &reply, sizeof(request), sizeof(reply)) == 0;
}

}  // namespace

void CVeskBDSh::loadTables() {
    std::uint32_t type = 0;
    for (int exchange = 0; exchange < kTypeCount; ++exchange) {
        DB_REPLY reply{};
        // A failed exchange counts as an attempt; the next one repeats the question.
        if (!ask(PidBD, DB_QUERY_TYPE, type, reply)) continue;
        type = reply.type;
        addTable(type, reply.count);
    }
}

/// Attaches the array of an IPC index. @return null for index 0, and when there is no such segment.
void* CVeskBDSh::attachArray(int index, std::uint32_t count, std::size_t elementBytes) {
    constexpr unsigned kAttachOnly = 0;
    if (index == 0) return nullptr;
    int id = -1;
    void* const address = ShmOpen(index, count * elementBytes, kAttachOnly, &id, 0);
    if (address != nullptr) segmentIds_.push_back(id);
    return address;
}

/// Puts the table of a type into the next place. An unknown code and a type without variables get
/// no place.
void CVeskBDSh::addTable(unsigned type, std::uint32_t count) {
    const TableRow* const row = tableRow(type);
    if (row == nullptr || count == 0) return;
    auto table = newTypeVars(type);
    const std::size_t valueBytes = valueSize(row->valueType);
    table->InitPasp(attachArray(row->passportIndex, count, row->passportSize));
    table->InitCurDat(attachArray(row->curDatIndex, count, valueBytes));
    table->InitCurVal(attachArray(row->curValIndex, count, valueBytes));
    table->setmaxnum(
        static_cast<std::uint16_t>(count));  // a variable's address has 16 bits for its number
    if (bd_vs.append(table.get())) static_cast<void>(table.release());
}

// ---- Attribute descriptions --------------------------------------------------------------------

namespace {

// CP866, as the controller's consoles show it.
// "Невозможно открыть файл описания атрибутов - %s"
constexpr const char* kNoFileCp866 =
    "\x8d\xa5\xa2\xae\xa7\xac\xae\xa6\xad\xae \xae\xe2\xaa\xe0\xeb\xe2\xec \xe4\xa0\xa9\xab "
    "\xae\xaf\xa8\xe1\xa0\xad\xa8\xef \xa0\xe2\xe0\xa8\xa1\xe3\xe2\xae\xa2 - %s\n\r";
// "Нехватает памяти для создания описания атрибутов."
constexpr const char* kNoMemoryCp866 =
    "\x8d\xa5\xe5\xa2\xa0\xe2\xa0\xa5\xe2 \xaf\xa0\xac\xef\xe2\xa8 \xa4\xab\xef "
    "\xe1\xae\xa7\xa4\xa0\xad\xa8\xef \xae\xaf\xa8\xe1\xa0\xad\xa8\xef "
    "\xa0\xe2\xe0\xa8\xa1\xe3\xe2\xae\xa2.\n\r";

struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

FilePtr openAtrFile(const char* path) {
    FilePtr file(std::fopen(path, "rbe"));
    // NOLINTNEXTLINE(clang-diagnostic-format-nonliteral): a constant of this file
    if (file == nullptr) std::printf(kNoFileCp866, path);
    return file;
}

/// The contents up to the end or the first read error; missing bytes are found as a fault later.
std::vector<std::uint8_t> contentsOf(std::FILE* file) {
    // The real files have some ten kilobytes. The limit keeps a wrong file from filling the memory.
    constexpr std::size_t kLimit = std::size_t{16} << 20U;
    constexpr std::size_t kPiece = std::size_t{64} << 10U;
    std::vector<std::uint8_t> bytes;
    for (std::size_t got = kPiece; got == kPiece && bytes.size() < kLimit;) {
        const std::size_t before = bytes.size();
        bytes.resize(before + kPiece);
        got = std::fread(bytes.data() + before, 1, kPiece, file);
        bytes.resize(before + got);
    }
    return bytes;
}

// In ASCII, unlike the texts above, so that it is readable on a console of any code page.
void printFault(const char* path, const AtrFault& fault) {
    std::printf("%s", path);
    if (fault.entry >= 0) std::printf(", entry %d", fault.entry);
    if (fault.attribute >= 0) std::printf(", attribute %d", fault.attribute);
    std::printf(": %s\n", fault.text.c_str());
}

}  // namespace

void CVeskBDSh::report(const AtrFault& fault) const {
    printFault(fault.file == AtrFault::File::offsets ? LinkFile : LinkFileType, fault);
}

int CVeskBDSh::LoadOffAtr() {
    p_ListAtr.clear();
    NUM_TYPE_INFILE = 0;
    checkAttributes();

    const FilePtr offsets = openAtrFile(LinkFile);
    if (offsets == nullptr) return -1;
    const FilePtr types = openAtrFile(LinkFileType);
    if (types == nullptr) return -1;
    try {
        AtrFiles files = readAtrFiles(contentsOf(offsets.get()), contentsOf(types.get()));
        for (const AtrFault& fault : files.faults)
            report(fault);
        p_ListAtr = std::move(files.entries);
        NUM_TYPE_INFILE = static_cast<std::int16_t>(p_ListAtr.size());
        checkAttributes();
        return files.sameEntries && files.faults.empty() ? 0 : -1;
    } catch (const std::bad_alloc&) {
        std::printf(kNoMemoryCp866);
        return -1;
    }
}

/// Fills places_ and reports faults of the files. An attribute that does not fit because another
/// type's table is in the place of a type without variables is not a fault of the files.
void CVeskBDSh::checkAttributes() {
    readPlans_ = {};  // they point into places_; planReads fills them again
    for (int index = 0; index < kDescribedTypeCount; ++index) {
        const TableRow& row = kTables[static_cast<std::size_t>(index)];
        auto& places = places_[static_cast<std::size_t>(index)];
        places.clear();
        const auto entryIndex = static_cast<std::size_t>(row.fileEntry);
        if (entryIndex >= p_ListAtr.size()) continue;

        const ListAllVar& entry = p_ListAtr[entryIndex];
        const CTypeVars* const table = getTypeVars(row.code);
        const TableRow* const inPlace = table != nullptr ? tableRow(table->typeAt()) : nullptr;
        const std::size_t recordSize = (inPlace != nullptr ? *inPlace : row).passportSize;
        for (int num = 1; num <= entry.Num; ++num) {
            AtrFault fault;
            static_cast<void>(placeOf(row.code, entry, num, row.passportSize, &fault));
            fault.entry = row.fileEntry;
            if (!fault.text.empty()) report(fault);
            places.push_back(placeOf(row.code, entry, num, recordSize, nullptr));
        }
    }
}

// ---- Requests to the database process ----------------------------------------------------------

void CVeskBDSh::ObrBD() {
    constexpr int kMaxFailures = 102;
    if (locate(kSimulatorName) != -1) return;
    DB_REPLY reply{};
    for (int failures = 0; !ask(PidBD, DB_PROCESS, 0, reply);)
        if (++failures == kMaxFailures) std::exit(-1);
}

void CVeskBDSh::LoadAperture(SApertures* apertures) {
    if (apertures != nullptr) m_apertures = *apertures;
}

void CVeskBDSh::SaveBD() {}
