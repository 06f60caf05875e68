// Attribute description files with any contents: reading returns what precedes the first fault, and
// every attribute read is inside its record.
//
// An input is both files: uint16 length of offatrs.dat, its bytes, and atributs.dat for the rest.

#include <span>

#include "fuzz/support/fuzzing.h"
#include "lib/bd_vesk/attributes.h"
#include "lib/bd_vesk/typevars.h"

namespace {

void checkPlaces(const TableRow& row, const ListAllVar& entry) {
    for (int num = 1; num <= entry.Num; ++num) {
        AtrFault fault;
        const AtrPlace place = placeOf(row.code, entry, num, row.passportSize, &fault);
        require(std::size_t{place.offset} + place.size <= row.passportSize);
        require(fault.text.empty() || place.size == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::uint16_t offsetsSize = 0;
    if (size < sizeof(offsetsSize)) return 0;
    std::memcpy(&offsetsSize, data, sizeof(offsetsSize));
    const auto both = std::span(data, size).subspan(sizeof(offsetsSize));
    const auto offsets = both.first(std::min<std::size_t>(offsetsSize, both.size()));

    const AtrFiles files = readAtrFiles(offsets, both.subspan(offsets.size()));
    require(files.sameEntries || files.entries.empty());
    for (const TableRow& row : kTables) {
        const auto entry = static_cast<std::size_t>(row.fileEntry);
        if (row.fileEntry >= 0 && entry < files.entries.size())
            checkPlaces(row, files.entries[entry]);
    }
    return 0;
}
