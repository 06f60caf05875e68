#include "support/controller_database.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_obj.h"
#include "support/wait_until.h"

// Behind the folders' table of the libraries, before objects without a priority.
[[gnu::init_priority(201)]] ControllerDatabase database;

namespace {

constexpr std::size_t kTqfBytes = 24;
constexpr std::size_t kQualityOffset = 16;

struct TableLayout {
    std::size_t passportBytes, valueBytes;
    int passportIndex, dataIndex, valueIndex;  // IPC; 0: the type has no such array
};
constexpr std::array<TableLayout, 5> kLayouts{{
    {114, 4, 10, 11, 12},
    {204, 4, 13, 0, 0},
    {48, 4, 14, 0, 15},
    {56, 1, 16, 17, 18},
    {58, 1, 19, 20, 21},
}};

// ---- Attribute descriptions --------------------------------------------------------------------

struct Attribute {
    int num, storage;
    std::int32_t offset;
    std::int16_t bit = 0;
};
enum Storage : int { kBit = 0, kByte = 1, kWord = 2, kFloat = 3, kText = 6, kUnknown = 5 };

struct Description {
    std::int16_t count = 0;
    std::vector<Attribute> attributes;
};

/// In the order of the files; the empty ones belong to types that the server does not publish.
const std::vector<Description>& descriptions() {
    static const std::vector<Description> all = {
        {50,
         {{1, kByte, 0},
          {5, kText, 4},
          {11, kFloat, 34},
          {24, kWord, 83},
          {29, kFloat, 103},
          {30, kByte, 107},
          {31, kBit, 108, 0},
          {38, kBit, 108, 7}}},
        {41, {{5, kText, 4}, {9, kByte, 32}, {27, kBit, 48, 0}}},
        {18,
         {{1, kText, 0},
          {6, kFloat, 29},
          {8, kFloat, 37},
          {10, kByte, 46},
          {12, kText, 28},
          {14, kByte, 28}}},
        {},
        {},
        {48, {{6, kText, 5}, {10, kByte, 33}, {20, kByte, 43}}},
        {},
        {107, {{1, kByte, 0}, {5, kText, 4}, {21, kFloat, 50}, {39, kFloat, 119}}},
    };
    return all;
}

template <class T>
void append(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// Each attribute has a kind of its own, with the same number.
void appendEntry(std::string& offsets, std::string& types, const Description& entry) {
    append(offsets, entry.count);
    append(types, entry.count);
    for (int num = 1; num <= entry.count; ++num) {
        Attribute attribute{num, kUnknown, 0};
        for (const Attribute& given : entry.attributes) {
            if (given.num == num) attribute = given;
        }
        append(offsets, static_cast<std::int16_t>(num));
        append(offsets, attribute.bit);
        append(offsets, attribute.offset);
        append(offsets, std::uint16_t{2});
        offsets += "xy";
        append(types, static_cast<std::int16_t>(num));
        append(types, static_cast<char>(attribute.storage));
    }
}

void writeAttributeFiles() {
    const auto count = static_cast<std::int16_t>(descriptions().size());
    std::string positions;
    std::string entries;
    std::string types;
    append(positions, count);
    append(types, count);
    const std::size_t start = sizeof(count) + descriptions().size() * sizeof(std::uint32_t);
    for (const Description& entry : descriptions()) {
        // Positions count from behind the number of entries.
        append(positions, static_cast<std::uint32_t>(start + entries.size() - sizeof(count)));
        appendEntry(entries, types, entry);
    }
    std::filesystem::create_directory("/zrt/system");
    std::ofstream("/zrt/system/offatrs.dat", std::ios::binary) << positions << entries;
    std::ofstream("/zrt/system/atributs.dat", std::ios::binary) << types;
}

}  // namespace

// ---- The tables --------------------------------------------------------------------------------

std::uint8_t* ControllerDatabase::makeSegment(int index, std::size_t bytes, bool isValues) {
    int id = -1;
    void* const address = ShmOpen(index, bytes, 1, &id, 0);
    if (address == nullptr) std::abort();
    segments_.push_back({address, bytes, id, isValues});
    return static_cast<std::uint8_t*>(address);
}

void ControllerDatabase::clear() {
    for (const Segment& segment : segments_) {
        if (segment.isValues) std::memset(segment.address, 0, segment.bytes);
    }
}

std::uint8_t* ControllerDatabase::at(Area area, int type, int num) {
    const auto index = static_cast<std::size_t>(type - 1);
    const TableLayout& layout = kLayouts.at(index);
    const std::size_t bytes = area == Area::passport ? layout.passportBytes : layout.valueBytes;
    std::uint8_t* const array = arrays_.at(index).at(static_cast<std::size_t>(area));
    if (array == nullptr || num < 1 || num > kCounts.at(index)) std::abort();
    return array + static_cast<std::size_t>(num - 1) * bytes;
}

std::uint8_t* ControllerDatabase::tqf(int type, int num) {
    std::size_t record = static_cast<std::size_t>(num - 1);
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(type); ++i)
        record += kCounts.at(i);
    return tqfs_ + record * kTqfBytes;
}

void ControllerDatabase::putText(int type, int num, std::size_t offset, std::string_view bytes) {
    std::memcpy(at(Area::passport, type, num) + offset, bytes.data(), bytes.size());
}

void ControllerDatabase::setQuality(int type, int num, std::uint32_t quality) {
    std::memcpy(tqf(type, num) + kQualityOffset, &quality, sizeof(quality));
}

void ControllerDatabase::setTime(int type, int num, std::int64_t seconds,
                                 std::int64_t microseconds) {
    const std::int64_t time[] = {seconds, microseconds};
    std::memcpy(tqf(type, num), time, sizeof(time));
}

// ---- The database process ----------------------------------------------------------------------

struct ControllerDatabase::Shared {
    Answer answers[11];
    int answerCount;
    struct {
        pid_t pid;
        int count;
    } queries[64];
};

void ControllerDatabase::answer(const std::vector<Answer>& answers) {
    std::copy(answers.begin(), answers.end(), shared_->answers);
    shared_->answerCount = static_cast<int>(answers.size());
}

int ControllerDatabase::queriesFrom(pid_t pid) const {
    for (const auto& query : shared_->queries) {
        if (query.pid == pid) return query.count;
    }
    return 0;
}

void ControllerDatabase::serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    vs_obj channel;
    channel.name_add("VsBASE", 0);
    for (;;) {
        std::uint32_t request[5] = {};
        const int sender = channel.Receive(0, request, sizeof(request));
        if (sender <= 0) continue;
        for (auto& query : shared_->queries) {
            if (query.pid != 0 && query.pid != sender) continue;
            query.pid = sender;
            ++query.count;
            break;
        }
        std::uint32_t reply[10] = {};
        reply[8] = 12;  // no further type
        for (int i = shared_->answerCount - 1; i >= 0; --i) {
            if (shared_->answers[i].type <= request[1]) break;
            reply[4] = shared_->answers[i].count;
            reply[8] = shared_->answers[i].type;
        }
        channel.Reply(sender, reply, sizeof(reply), 0);
    }
}

// ---- The whole ---------------------------------------------------------------------------------

ControllerDatabase::ControllerDatabase() {
    std::error_code missing;
    if (!std::filesystem::is_empty("/zrt", missing) || missing) {
        std::fputs("needs an empty /zrt: run it through tools/dev/sandbox\n", stderr);
        _exit(2);
    }
    for (const char* folder : {"/zrt/settings", "/zrt/log"})
        std::filesystem::create_directory(folder);
    for (const char* keyFile : {"/zrt/proxy", "/zrt/vskontr"})
        std::ofstream(keyFile) << '\n';
    writeAttributeFiles();

    *makeSegment(48, 1, false) = 7;  // the generation byte
    std::memcpy(makeSegment(59, 26, false), kCounts.data(), sizeof(kCounts));
    std::size_t records = 0;
    for (std::size_t i = 0; i < kLayouts.size(); ++i) {
        const TableLayout& layout = kLayouts[i];
        const std::size_t count = kCounts[i];
        records += count;
        const auto array = [&](int index, std::size_t bytes) {
            return index != 0 ? makeSegment(index, count * bytes) : nullptr;
        };
        arrays_[i] = {array(layout.passportIndex, layout.passportBytes),
                      array(layout.dataIndex, layout.valueBytes),
                      array(layout.valueIndex, layout.valueBytes)};
    }
    tqfs_ = makeSegment(85, records * kTqfBytes);

    shared_ = static_cast<Shared*>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    std::vector<Answer> all;
    for (std::uint32_t i = 0; i < kCounts.size(); ++i)
        all.push_back({i + 1, kCounts[i]});
    answer(all);
    process_ = fork();
    if (process_ == 0) serve();
    // The first to join the registry removes it again: that must be the database process.
    waitUntil([] { return IpcFind(IpcKind::queue, SemKey(0)).has_value(); });
    All = new vs_obj;
    if (!waitUntil([] { return All->name_find("VsBASE") != -1; })) std::abort();
}

ControllerDatabase::~ControllerDatabase() {
    if (getpid() != owner_) return;  // a child that ended by exit()
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    for (const Segment& segment : segments_)
        ShmRemove(segment.id);
    for (const IpcKind kind : {IpcKind::segment, IpcKind::semaphore, IpcKind::queue}) {
        if (const auto object = IpcFind(kind, SemKey(0))) IpcRemove(kind, object->id);
    }
    if (const auto replies = IpcFind(IpcKind::queue, SemKey(0) + 1)) {
        IpcRemove(IpcKind::queue, replies->id);
    }
}
