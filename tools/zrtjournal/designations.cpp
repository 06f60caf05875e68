#include "tools/zrtjournal/designations.h"

#include <cstring>

#include "lib/util/shmem.h"

namespace tools::zrtjournal {

std::string designationOf(const SRolMessage& message) {
    const int type = message.VarType;
    const int number = message.VarNumber;
    if (type < 1 || type > static_cast<int>(kRolDictionaries) || number < 1) return {};
    const ShmView dictionary = ShmOpenReadOnly(kRolFirstDictionary + type - 1);
    const std::size_t at = static_cast<std::size_t>(number - 1) * kRolDictionaryEntry;
    if (!dictionary.address || at + kRolDictionaryEntry > dictionary.size) return {};
    const char* const entry = static_cast<const char*>(dictionary.address.get()) + at;
    return {entry, strnlen(entry, kRolDictionaryEntry)};
}

}  // namespace tools::zrtjournal
