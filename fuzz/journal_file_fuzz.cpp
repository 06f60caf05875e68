#include "fuzz/support/fuzzing.h"
#include "lib/rolling2/rol_files.h"
#include "lib/rolling2/rol_mes.h"

namespace {

/// The same bytes as the files beside the messages.
void requireCopyFiles(const std::string& path, std::size_t size) {
    std::array<std::uint8_t, kRolCountersRead> counters{};
    const bool isLoaded = RolLoadCounters(path.c_str(), counters) == kRolDone;
    require(isLoaded == (size >= counters.size()));
    const RolCopyMark mark = RolReadMark(path.c_str());
    require(mark.status >= 0 && mark.status <= 3);
    require(mark.status == 0 || mark.saveNumber == 0);
}

}  // namespace

/// A saved journal of any content: accepted messages are written back as the same bytes, and
/// everything can be shown.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    requireCopyFiles(inputFile(data, size), size);
    const RolMessages file = RolParseMessages({data, size});
    require(file.error != kRolDone || !file.messages.empty());

    std::size_t at = sizeof(SRolFileHeader);
    for (const SRolMessage& message : file.messages) {
        std::uint8_t raw[sizeof(SRolMessage)];
        const std::size_t rawSize = RolWriteRaw(message, raw);
        require(at + rawSize <= size && std::memcmp(raw, data + at, rawSize) == 0);
        at += rawSize;
        CRolMessageInterface shown;
        shown.Message = message;
        require(!shown.MakeString("TE101").empty());
    }
    constexpr std::size_t kFew = 3;
    require(RolParseMessages({data, size}, kFew).messages.size() <= kFew);

    // The same bytes as an unchecked record in shared memory.
    CRolMessageInterface record;
    std::memcpy(&record.Message, data, std::min(size, sizeof(SRolMessage)));
    require(!record.MakeString(nullptr).empty());
    require(RolArguments(record.Message).size() <= record.Message.NumberOfArgs);
    return 0;
}
