#include "tools/zrtjournal/saved_copies.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <tuple>
#include <vector>

#include "lib/util/crc.h"

namespace zrtjournal {

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

/// As long as this saver writes them, or as the loader asks for.
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
    const int status = CheckCRCFile(copy.crcPath.c_str(), &copy.saveNumber);
    // The same answer for one that is missing and one that is too short.
    const bool isMissing = status == 1 && !readBytes(copy.crcPath);
    copy.crc = status == 0 ? SavedCopy::Crc::good
               : isMissing ? SavedCopy::Crc::missing
                           : SavedCopy::Crc::damaged;
}

/// Later is better. Equal numbers: the reserve, as for the loader.
auto rank(const SavedCopy& copy) {
    const bool isConfirmed = copy.hasAllMessages() && copy.crc == SavedCopy::Crc::good;
    return std::tuple(isConfirmed, isConfirmed ? copy.saveNumber : 0, copy.hasAllMessages(),
                      copy.messages.messages.size(), copy.isReserve && isConfirmed);
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
    const std::size_t best = rank(copies[1]) > rank(copies[0]) ? 1 : 0;
    const SavedCopy& copy = copies.at(best);
    const bool isReadable = copy.hasAllMessages() || !copy.messages.messages.empty();
    return isReadable ? best : copies.size();
}

}  // namespace zrtjournal
