#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include "attribute_files.h"
#include "lib/bd_vesk/bdvesk.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_obj.h"
#include "support/child_process.h"
#include "support/vesk_path.h"
#include "support/wait_until.h"

/// What the database process saw; shared with it.
struct RequestLog {
    std::atomic<int> count{0};
    std::array<std::array<std::uint8_t, 20>, 64> requests{};
};

/// A controller's database: tables as bytes in shared memory, attribute files, and a process
/// "VsBASE" that answers requests. Everything is laid by offset, not through the records of the
/// library.
class Database {
  public:
    struct Answer {
        std::uint32_t type;
        std::uint32_t count;
    };

    Database() {
        std::filesystem::create_directory(system());
        setenv("SYSTEM", system().c_str(), 1);
        SRV_Path.InitPathes();
        former_ = All;
        own_ = std::make_unique<vs_obj>();
        All = own_.get();
        EXPECT_EQ(own_->set_shmidx(48, 3), 0);
        log_ = new (mmap(nullptr, sizeof(RequestLog), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0)) RequestLog;
    }
    ~Database() {
        process_.reset();
        segments_.clear();
        own_.reset();
        All = former_;
        munmap(log_, sizeof(RequestLog));
        unsetenv("SYSTEM");
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    std::filesystem::path system() const { return path_.folder() / "system"; }
    std::filesystem::path file(const char* name) const { return system() / name; }

    /// A segment of the controller; the bytes stay its owner's.
    std::uint8_t* segment(int index, std::size_t size) {
        ShmPtr& segment = segments_[index];
        segment.reset(ShmOpen(index, size, 0666, nullptr, 0));
        EXPECT_NE(segment, nullptr);
        return bytes(index);
    }
    std::uint8_t* bytes(int index) const {
        return static_cast<std::uint8_t*>(segments_.at(index).get());
    }

    /// Starts the process; it names one type an exchange, then "0 of type 99" for ever.
    void start(const std::vector<Answer>& answers, const char* name = "VsBASE") {
        process_ = std::make_unique<ChildProcess>([this, answers, name] {
            All = new vs_obj;
            if (All->name_add(name, 0) == -1) return 1;
            for (std::size_t next = 0;; ++next)
                answer(next < answers.size() ? answers[next] : Answer{99, 0});
        });
        EXPECT_TRUE(waitUntil([&] { return own_->name_find(name) == process_->pid(); }));
    }
    void stop() { process_.reset(); }

    int requestCount() const { return log_->count; }
    std::array<std::uint32_t, 5> request(int index) const {
        std::array<std::uint32_t, 5> words{};
        std::memcpy(words.data(), log_->requests[static_cast<std::size_t>(index)].data(), 20);
        return words;
    }

  private:
    void answer(Answer with) {
        std::array<std::uint8_t, 20> request{};
        const int sender = All->Receive(0, request.data(), 20);
        if (sender == -1) return;
        log_->requests[static_cast<std::size_t>(log_->count % 64)] = request;
        ++log_->count;
        std::array<std::uint8_t, 40> reply{};
        std::memcpy(&reply[16], &with.count, 4);
        std::memcpy(&reply[32], &with.type, 4);
        All->Reply(sender, reply.data(), 40, 0);
    }

    VeskPath path_;
    vs_obj* former_ = nullptr;
    std::unique_ptr<vs_obj> own_;
    RequestLog* log_ = nullptr;
    std::map<int, ShmPtr> segments_;
    std::unique_ptr<ChildProcess> process_;
};

/// A database with every table: `count(type)` variables of each type, all bytes of a table the
/// type's code times 16 plus the array's number (0 passports, 1 current data, 2 current values).
class FullDatabase : public Database {
  public:
    struct Table {
        int index;  // IPC
        std::uint32_t type;
        std::size_t element;
        int array;
    };
    static constexpr Table kTables[] = {
        {10, 1, 114, 0}, {11, 1, 4, 1},  {12, 1, 4, 2}, {13, 2, 204, 0}, {14, 3, 48, 0},
        {15, 3, 4, 2},   {16, 4, 56, 0}, {17, 4, 1, 1}, {18, 4, 1, 2},   {19, 5, 58, 0},
        {20, 5, 1, 1},   {21, 5, 1, 2},  {22, 6, 4, 0}, {23, 7, 4, 0},   {24, 8, 4, 0},
        {25, 9, 4, 0},   {26, 10, 2, 0}, {27, 11, 1, 0}};

    static std::uint32_t count(std::uint32_t type) { return type + 2; }
    static std::uint8_t fill(std::uint32_t type, int array) {
        return static_cast<std::uint8_t>(16 * type + static_cast<std::uint32_t>(array));
    }

    FullDatabase() {
        for (const Table& table : kTables) {
            const std::size_t size = count(table.type) * table.element;
            std::memset(segment(table.index, size), fill(table.type, table.array), size);
        }
        std::uint8_t* const counts = segment(59, 26);
        std::size_t records = 0;
        for (std::uint32_t type = 1; type <= 5; ++type) {
            counts[2 * (type - 1)] = static_cast<std::uint8_t>(count(type));
            records += count(type);
        }
        segment(85, records * 24);
        AttributeFiles::write(system(), AttributeFiles().bytes());  // no attributes
    }

    /// Starts the process with all types, or without one of them.
    void startAll(std::uint32_t without = 0) {
        std::vector<Answer> answers;
        for (std::uint32_t type = 1; type <= 11; ++type)
            if (type != without) answers.push_back({type, count(type)});
        start(answers);
    }
};
