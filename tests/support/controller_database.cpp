#include "tests/support/controller_database.h"

#include <fcntl.h>
#include <sys/prctl.h>

#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_obj.h"
#include "sim/layout/attribute_files.h"
#include "sim/layout/types.h"
#include "sim/type_query.h"
#include "tests/support/files.h"
#include "tests/support/wait_until.h"

// After the libraries' table of folders, before objects without a priority.
[[gnu::init_priority(201)]] ControllerDatabase database;

using Tqf = sim::TimeQualityLayout;

// ---- The tables --------------------------------------------------------------------------------

std::byte* ControllerDatabase::makeTable(int index, std::size_t bytes) {
    if (bytes == 0) return nullptr;
    auto* const table = static_cast<std::byte*>(ShmOpen(index, bytes, 1, nullptr, 0));
    if (table == nullptr) std::abort();
    return tables_.emplace_back(table, bytes).data();
}

void ControllerDatabase::clear() {
    for (const auto table : tables_)
        std::ranges::fill(table, std::byte{});
}

std::byte* ControllerDatabase::at(Area area, int type, int num) const {
    constexpr decltype(&sim::DatabaseMemory::passport) kAreas[] = {
        &sim::DatabaseMemory::passport, &sim::DatabaseMemory::data, &sim::DatabaseMemory::value};
    return (memory_.*kAreas[static_cast<std::size_t>(area)])(static_cast<sim::TypeCode>(type),
                                                             static_cast<std::size_t>(num - 1));
}

void ControllerDatabase::putText(int type, int num, std::size_t offset, std::string_view bytes) {
    std::memcpy(at(Area::passport, type, num) + offset, bytes.data(), bytes.size());
}

namespace {

std::byte* tqf(const sim::DatabaseMemory& memory, int type, int num) {
    return memory.timeQualityOf(static_cast<sim::TypeCode>(type),
                                static_cast<std::size_t>(num - 1));
}

}  // namespace

void ControllerDatabase::setQuality(int type, int num, std::uint32_t quality) {
    sim::store(tqf(memory_, type, num) + Tqf::kQuality, quality);
}

void ControllerDatabase::setTime(int type, int num, std::int64_t seconds,
                                 std::int64_t microseconds) {
    sim::store(tqf(memory_, type, num), std::array{seconds, microseconds});
}

// ---- The database process ----------------------------------------------------------------------

void ControllerDatabase::serve() const {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    vs_obj channel;
    channel.name_add("VsBASE", 0);
    for (;;) {
        sim::Request request{};
        const int sender = channel.Receive(0, request.data(), sizeof(request));
        if (sender <= 0) continue;
        sim::Answer answer = sim::answerTo(request, announced);
        channel.Reply(sender, answer.data(), sizeof(answer), 0);
    }
}

void ControllerDatabase::start() {
    process_ = fork();
    if (process_ == 0) serve();
    // The process that makes the registry removes it: that must be the database process.
    waitUntil([] { return IpcFind(IpcKind::queue, SemKey(0)).has_value(); });
    All = new vs_obj;
    if (!waitUntil([] { return All->name_find("VsBASE") != -1; })) std::abort();
}

void ControllerDatabase::stop() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

// ---- The whole ---------------------------------------------------------------------------------

namespace {

/// Shared with the database process.
sim::Counts& sharedCounts() {
    return *static_cast<sim::Counts*>(mmap(nullptr, sizeof(sim::Counts), PROT_READ | PROT_WRITE,
                                           MAP_SHARED | MAP_ANONYMOUS, -1, 0));
}

}  // namespace

ControllerDatabase::ControllerDatabase() : announced(sharedCounts()) {
    announced = kCounts;
    std::error_code missing;
    if (!std::filesystem::is_empty("/zrt", missing) || missing) {
        std::fputs("needs an empty /zrt: run it through tools/dev/sandbox\n", stderr);
        _exit(2);
    }
    for (const char* folder : {"/zrt/settings", "/zrt/log"})
        std::filesystem::create_directory(folder);
    for (const char* keyFile : {"/zrt/proxy", "/zrt/vskontr"})
        std::ofstream(keyFile) << '\n';
    writeFile("/zrt/system/offatrs.dat", sim::offsetFile());
    writeFile("/zrt/system/atributs.dat", sim::kindFile());

    *makeTable(sim::kGenerationIndex, 1) = std::byte{7};
    sim::store(makeTable(sim::kCountsIndex, sim::kCountsSize), kCounts);
    tables_.clear();  // these two stay
    std::size_t records = 0;
    for (const sim::TypeLayout& type : sim::kTypes) {
        const std::size_t i = sim::indexOf(type.type);
        if (i < sim::kMainTypeCount) records += kCounts.at(i);
        const auto array = [&](const sim::ArrayLayout& layout) {
            return makeTable(layout.ipcIndex, kCounts.at(i) * layout.elementSize);
        };
        memory_.types.at(i) = {kCounts.at(i), array(type.passport), array(type.data),
                               array(type.value)};
    }
    memory_.timeQuality = makeTable(sim::kTimeQualityIndex, records * Tqf::kSize);

    start();
}
