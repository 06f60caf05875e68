#include "lib/rolling2/rol_files.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "lib/rolling2/rol_mes.h"
#include "lib/rolling2/rol_report.h"
#include "lib/util/crc.h"

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace

// ---- Messages ----------------------------------------------------------------------------------

namespace {

int readHeader(std::span<const std::uint8_t> bytes, SRolFileHeader& header) {
    if (bytes.size() < sizeof(header)) return kRolShortHeader;
    std::memcpy(&header, bytes.data(), sizeof(header));
    const bool isOurs = std::memcmp(header.tag, kRolFileTag, sizeof(header.tag)) == 0;
    return isOurs && header.last < header.count ? kRolDone : kRolBadHeader;
}

}  // namespace

RolMessages RolParseMessages(std::span<const std::uint8_t> bytes, std::size_t most) {
    RolMessages file;
    SRolFileHeader header{};
    file.error = readHeader(bytes, header);
    if (file.error != kRolDone) return file;

    bytes = bytes.subspan(sizeof(header));
    const std::size_t surplus = header.count > most ? header.count - most : 0;
    for (std::size_t i = 0; i < header.count; ++i) {
        SRolMessage message{};
        std::size_t used = 0;
        file.error = RolReadRaw(bytes, message, used);
        if (file.error != kRolDone) break;
        bytes = bytes.subspan(used);
        if (i >= surplus) file.messages.push_back(message);
    }
    return file;
}

namespace {

void reportMessages(int error, const char* path) {
    switch (error) {
        case kRolDone:
            return;
        case kRolShortHeader:
            RolReport(RolText::shortHeader, {.path = path});
            return;
        case kRolBadHeader:
            RolReport(RolText::badHeader, {.path = path});
            return;
        default:
            RolReport(RolText::badMessage, {.code = error, .path = path});
            return;
    }
}

/// All bytes of a file, up to the most that a messages file can have.
std::vector<std::uint8_t> contents(std::FILE* file) {
    constexpr std::size_t kMost = sizeof(SRolFileHeader) + UINT16_MAX * sizeof(SRolMessage);
    std::vector<std::uint8_t> bytes;
    std::uint8_t part[16384];
    std::size_t got = 0;
    while (bytes.size() < kMost && (got = std::fread(part, 1, sizeof(part), file)) != 0)
        bytes.insert(bytes.end(), part, part + got);
    return bytes;
}

}  // namespace

RolMessages RolLoadMessages(const char* path, std::size_t most) {
    // Only read here, but a file that cannot be written either counts as missing: required by the
    // interface.
    const File file(std::fopen(path, "rb+"));
    if (file == nullptr) {
        RolReport(RolText::messagesNotReadable, {.path = path});
        return {kRolCannotOpen, {}};
    }
    auto loaded = RolParseMessages(contents(file.get()), most);
    reportMessages(loaded.error, path);
    return loaded;
}

// ---- Counters ----------------------------------------------------------------------------------

int RolLoadCounters(const char* path, std::array<std::uint8_t, kRolCountersRead>& bytes) {
    const File file(std::fopen(path, "rb+"));
    if (file == nullptr) {
        RolReport(RolText::countersNotReadable, {.path = path});
        return kRolCannotOpen;
    }
    std::array<std::uint8_t, kRolCountersRead> read{};
    if (std::fread(read.data(), 1, read.size(), file.get()) != read.size()) {
        RolReport(RolText::badCounters, {.path = path});
        return kRolShortMessage;
    }
    bytes = read;
    return kRolDone;
}

// ---- Writing -----------------------------------------------------------------------------------

namespace {

/// @param result  of fdatasync or fsync
bool isSynchronised(int result) {
    // Pipes, devices and read-only file systems have nothing to synchronise.
    return result == 0 || errno == EINVAL || errno == EROFS;
}

}  // namespace

int RolWriteFile(const char* path, std::span<const std::uint8_t> bytes) {
    const File file(std::fopen(path, "w+"));
    if (file == nullptr) return kRolCannotOpen;
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    const bool isFlushed = std::fflush(file.get()) == 0;
    if (!isWritten || !isFlushed) return kRolShortWrite;
    const int descriptor = fileno(file.get());
    if (!isSynchronised(fdatasync(descriptor)) || !isSynchronised(fsync(descriptor)))
        return kRolNotOnDisk;
    return kRolDone;
}

// ---- The choice between the copies -------------------------------------------------------------

RolCopyMark RolReadMark(const char* crcPath) {
    RolCopyMark mark;
    mark.status = CheckCRCFile(crcPath, &mark.saveNumber);
    return mark;
}

std::size_t RolChooseCopy(const std::array<RolCopyMark, kRolCopies>& marks,
                          const std::function<RolCopyWorth(std::size_t)>& worth) {
    constexpr int kGood = 0;
    constexpr int kMissing = 1;
    const auto& [main, reserve] = marks;
    const bool bothMissing = main.status == kMissing && reserve.status == kMissing;
    const bool mainIsGood = main.status == kGood || bothMissing;
    const bool reserveIsGood = reserve.status == kGood;
    if (!mainIsGood && !reserveIsGood) return kRolCopies;
    const bool mainFirst = mainIsGood && (!reserveIsGood || main.saveNumber > reserve.saveNumber);

    const std::size_t first = mainFirst ? 0 : 1;
    const RolCopyWorth ofFirst = worth(first);
    if (ofFirst == RolCopyWorth::whole) return first;
    const std::size_t second = 1 - first;
    const RolCopyWorth ofSecond = worth(second);
    if (ofSecond == RolCopyWorth::whole) return second;
    if (ofFirst == RolCopyWorth::messages) return first;
    return ofSecond == RolCopyWorth::messages ? second : kRolCopies;
}
