#include "lib/util/crc.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include "lib/util/veskpath.h"

// ---- Check values ------------------------------------------------------------------------------

std::uint16_t CalculateCRC(const unsigned char* data, int length) {
    constexpr unsigned kPolynomial = 0xA001;  // 0x8005 reflected
    unsigned crc = 0xFFFF;
    for (int i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1U) != 0 ? (crc >> 1U) ^ kPolynomial : crc >> 1U;
    }
    return static_cast<std::uint16_t>((crc << 8U) | (crc >> 8U));
}

std::uint16_t CalculateFastCRC(const unsigned char* data, int length) {
    unsigned crc = 0xFFFF;
    for (int i = 0; i < length; ++i) {
        crc = (crc + data[i]) & 0xFFFFU;
        crc = (crc >> 1U) | ((crc & 1U) << 15U);
    }
    return static_cast<std::uint16_t>(crc);
}

// ---- Files -------------------------------------------------------------------------------------

namespace {

constexpr char kTag[] = "VSX__CRC";
static_assert(sizeof(kTag) == sizeof(SCRCFile::tag) + 1);

std::uint16_t checkOf(std::uint32_t value) {
    unsigned char bytes[sizeof(value)];
    std::memcpy(bytes, &value, sizeof(value));
    return CalculateCRC(bytes, sizeof(bytes));
}

/// Overwrites the file in place. Truncating it first would leave it invalid for longer than it
/// takes to write 14 bytes.
bool writeCrcFile(const char* path, std::uint32_t value, int moreFlags) {
    SCRCFile record{};
    std::memcpy(record.tag, kTag, sizeof(record.tag));
    record.value = value;
    record.check = checkOf(value);

    constexpr mode_t kPermissions = 0777;
    const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | moreFlags, kPermissions);
    if (file == -1) return false;
    const bool isWritten = write(file, &record, sizeof(record)) == ssize_t{sizeof(record)};
    // A disk that fails here is not reported; the file is then incomplete at the next start.
    static_cast<void>(fdatasync(file));
    static_cast<void>(fsync(file));
    close(file);
    return isWritten;
}

}  // namespace

void SaveCRCFileDB(const char* path) {
    static_cast<void>(writeCrcFile(path, static_cast<std::uint32_t>(std::time(nullptr)), 0));
}

void SaveCRCFileRoll(const char* path) {
    static std::mutex oneAtATime;  // otherwise two threads could write the same number
    static std::uint32_t saveNumber = 0;
    const std::lock_guard guard(oneAtATime);
    if (writeCrcFile(path, saveNumber, O_SYNC)) ++saveNumber;
}

int CheckCRCFile(const char* path, unsigned int* value) {
    enum { kWhole = 0, kUnreadable = 1, kCheckDiffers = 2, kTagDiffers = 3 };
    std::FILE* const file = std::fopen(path, "rb");
    if (file == nullptr) return kUnreadable;
    SCRCFile record{};
    const bool isRead = std::fread(&record, sizeof(record), 1, file) == 1;
    std::fclose(file);
    if (!isRead) return kUnreadable;
    if (std::memcmp(record.tag, kTag, sizeof(record.tag)) != 0) return kTagDiffers;
    if (record.check != checkOf(record.value)) return kCheckDiffers;
    *value = record.value;
    return kWhole;
}

void EraseCRCFiles() {
    std::printf("\nEraseCRCFiles: OK!");
    for (const char* name :
         {kCrcFileRol, kCrcFileRolRez, kCrcFileDb, kCrcFileDbRez, kCrcFileDb2, kCrcFileDb2Rez}) {
        // A file that does not exist counts as removed.
        static_cast<void>(unlink((std::string(SRV_Path.PATHDB) + "/" + name).c_str()));
    }
}
