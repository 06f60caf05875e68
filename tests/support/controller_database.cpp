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
#include "support/attribute_files.h"
#include "support/files.h"
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
constexpr TableLayout kLayouts[] = {
    {114, 4, 10, 11, 12}, {204, 4, 13, 0, 0}, {48, 4, 14, 0, 15}, {56, 1, 16, 17, 18},
    {58, 1, 19, 20, 21},  {4, 0, 22, 0, 0},   {4, 0, 23, 0, 0},   {4, 0, 24, 0, 0},
    {4, 0, 25, 0, 0},     {2, 0, 26, 0, 0},   {1, 0, 27, 0, 0},
};

using enum AttributeFiles::Storage;

/// By entry of the description files: 0 VA, 1 DI, 2 HI, 5 DO, 7 AV. All other numbers up to the
/// entry's count are unreadable.
constexpr int kAttributeCounts[] = {50, 41, 18, 0, 0, 48, 0, 107};
constexpr struct {
    std::size_t entry;
    int num, storage, offset, bit = 0;
} kAttributes[] = {
    {0, 1, kByte, 0},     {0, 5, kText, 4},     {0, 11, kFloat, 34},   {0, 24, kWord, 83},
    {0, 29, kFloat, 103}, {0, 30, kByte, 107},  {0, 31, kBit, 108, 0}, {0, 38, kBit, 108, 7},
    {1, 5, kText, 4},     {1, 9, kByte, 32},    {1, 27, kBit, 48, 0},  {2, 1, kText, 0},
    {2, 6, kFloat, 29},   {2, 8, kFloat, 37},   {2, 10, kByte, 46},    {2, 12, kText, 28},
    {2, 14, kByte, 28},   {5, 6, kText, 5},     {5, 10, kByte, 33},    {5, 20, kByte, 43},
    {7, 1, kByte, 0},     {7, 5, kText, 4},     {7, 21, kFloat, 50},   {7, 39, kFloat, 119},
    {7, 40, kFloat, 123}, {7, 41, kFloat, 127},
};

void writeAttributeFiles() {
    AttributeFiles files;
    for (std::size_t entry = 0; entry < files.entries.size(); ++entry)
        files.entries[entry].count = kAttributeCounts[entry];
    for (const auto& [entry, num, storage, offset, bit] : kAttributes)
        files.entries[entry].attributes.push_back({num, storage, offset, bit});
    writeFile("/zrt/system/offatrs.dat", files.offsets());
    writeFile("/zrt/system/atributs.dat", files.types());
}

}  // namespace

// ---- The tables --------------------------------------------------------------------------------

std::uint8_t* ControllerDatabase::makeSegment(int index, std::size_t bytes) {
    void* const address = ShmOpen(index, bytes, 1, nullptr, 0);
    if (address == nullptr) std::abort();
    values_.push_back({address, bytes});
    return static_cast<std::uint8_t*>(address);
}

void ControllerDatabase::clear() {
    for (const Values& values : values_)
        std::memset(values.address, 0, values.bytes);
}

std::uint8_t* ControllerDatabase::at(Area area, int type, int num) {
    const auto index = static_cast<std::size_t>(type - 1);
    const TableLayout& layout = kLayouts[index];
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
        pid_t sender;
        Request request;
    } log[4096];
    int requestCount;
};

void ControllerDatabase::answer(const std::vector<Answer>& answers) {
    std::copy(answers.begin(), answers.end(), shared_->answers);
    shared_->answerCount = static_cast<int>(answers.size());
}

void ControllerDatabase::answerAll() {
    std::vector<Answer> all;
    for (std::uint32_t i = 0; i < kCounts.size(); ++i)
        all.push_back({i + 1, kCounts[i]});
    answer(all);
}

std::vector<ControllerDatabase::Request> ControllerDatabase::requestsFrom(pid_t pid) const {
    std::vector<Request> requests;
    for (int i = 0; i < shared_->requestCount; ++i)
        if (shared_->log[i].sender == pid) requests.push_back(shared_->log[i].request);
    return requests;
}

/// What follows the type of the request among the answers.
ControllerDatabase::Answer ControllerDatabase::next(std::uint32_t type) const {
    int i = 0;
    while (type != 0 && i < shared_->answerCount)
        if (shared_->answers[i++].type == type) break;
    return i < shared_->answerCount ? shared_->answers[i] : Answer{12, 0};
}

void ControllerDatabase::serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    vs_obj channel;
    channel.name_add("VsBASE", 0);
    for (;;) {
        Request request{};
        const int sender = channel.Receive(0, request.data(), sizeof(request));
        if (sender <= 0) continue;
        if (shared_->requestCount == std::ssize(shared_->log)) std::abort();
        shared_->log[shared_->requestCount++] = {sender, request};
        std::uint32_t reply[10] = {};
        const Answer answer = next(request[1]);
        reply[4] = answer.count;
        reply[8] = answer.type;
        channel.Reply(sender, reply, sizeof(reply), 0);
    }
}

void ControllerDatabase::start() {
    process_ = fork();
    if (process_ == 0) serve();
    // The first to join the registry removes it again: that must be the database process.
    waitUntil([] { return IpcFind(IpcKind::queue, SemKey(0)).has_value(); });
    if (All == nullptr) All = new vs_obj;
    if (!waitUntil([] { return All->name_find("VsBASE") != -1; })) std::abort();
}

void ControllerDatabase::stop() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
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

    *makeSegment(48, 1) = 7;  // the generation byte
    std::memcpy(makeSegment(59, 26), kCounts.data(), sizeof(kCounts));
    values_.clear();
    std::size_t records = 0;
    for (std::size_t i = 0; i < std::size(kLayouts); ++i) {
        const TableLayout& layout = kLayouts[i];
        const std::size_t count = kCounts[i];
        if (i < 5) records += count;
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
    answerAll();
    start();
}
