#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "lib/rolling2/rol_files.h"
#include "lib/rolling2/rol_mes.h"

static void require(bool holds) {
    if (!holds) std::abort();
}

/// A saved journal of any content: what is accepted comes back as the same bytes, and everything
/// can be shown.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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

    // The same bytes as a record in shared memory, which nobody has checked.
    CRolMessageInterface record;
    std::memcpy(&record.Message, data, std::min(size, sizeof(SRolMessage)));
    require(!record.MakeString(nullptr).empty());
    require(RolArguments(record.Message).size() <= record.Message.NumberOfArgs);
    return 0;
}
