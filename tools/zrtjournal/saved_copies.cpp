#include "tools/zrtjournal/saved_copies.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

#include "lib/util/crc.h"

namespace tools::zrtjournal {

bool SavedCopy::isAbsent() const {
    return messages.error == kRolCannotOpen && crc == Crc::missing && counters == Counters::missing;
}

bool SavedCopy::isGood() const {
    return hasAllMessages() && crc == Crc::good && counters == Counters::good;
}

namespace {

std::optional<std::vector<std::uint8_t>> readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::error_code ignored;
    if (!file || std::filesystem::is_directory(path, ignored)) return std::nullopt;
    return std::vector<std::uint8_t>{std::istreambuf_iterator<char>(file), {}};
}

/// Checks for the length that this saver writes or the one that the loader reads.
SavedCopy::Counters countersState(const std::string& path) {
    const auto bytes = readBytes(path);
    if (!bytes) return SavedCopy::Counters::missing;
    const bool fits = bytes->size() == kRolCountersWritten || bytes->size() == kRolCountersRead;
    return fits ? SavedCopy::Counters::good : SavedCopy::Counters::damaged;
}

void readCopy(SavedCopy& copy) {
    const auto bytes = readBytes(copy.messagesPath);
    if (bytes) {
        copy.messages = RolParseMessages(*bytes);
    } else {
        copy.messages.error = kRolCannotOpen;
    }
    copy.counters = countersState(copy.countersPath);
    copy.mark = RolReadMark(copy.crcPath.c_str());
    // The status is the same for a missing file and one that is too short.
    const bool isMissing = copy.mark.status == 1 && !readBytes(copy.crcPath);
    copy.crc = copy.mark.status == 0 ? SavedCopy::Crc::good
               : isMissing           ? SavedCopy::Crc::missing
                                     : SavedCopy::Crc::damaged;
}

/// As seen by the loader, which reads longer counters than the saver writes.
RolCopyWorth worthOf(const SavedCopy& copy) {
    if (!copy.hasAllMessages()) return RolCopyWorth::nothing;
    std::error_code missing;
    const auto size = std::filesystem::file_size(copy.countersPath, missing);
    return !missing && size >= kRolCountersRead ? RolCopyWorth::whole : RolCopyWorth::messages;
}

}  // namespace

SavedCopies readCopies(const std::string& folder) {
    SavedCopies copies;
    for (const bool isReserve : {false, true}) {
        SavedCopy& copy = copies.at(isReserve ? 1 : 0);
        const std::string data = folder + (isReserve ? "/rezerv/" : "/dat/");
        copy.isReserve = isReserve;
        copy.messagesPath = data + "rolling2.dat";
        copy.countersPath = data + "cntroll2.dat";
        copy.crcPath = folder + "/" + (isReserve ? kCrcFileRolRez : kCrcFileRol);
        readCopy(copy);
    }
    return copies;
}

std::size_t bestCopy(const SavedCopies& copies) {
    const std::size_t loaded =
        RolChooseCopy({copies[0].mark, copies[1].mark},
                      [&](std::size_t copy) { return worthOf(copies.at(copy)); });
    if (loaded < copies.size()) return loaded;
    const auto readable = [&](std::size_t copy) {
        return copies.at(copy).messages.messages.size();
    };
    const std::size_t best = readable(1) > readable(0) ? 1 : 0;
    return readable(best) != 0 ? best : copies.size();
}

}  // namespace tools::zrtjournal
