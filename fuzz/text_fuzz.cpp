#include "fuzz/support/fuzzing.h"
#include "server/text/ToUTF8Converter.h"
#include "server/text/Utf8ToCP866Converter.h"

/// Clients may write any bytes; the controller's texts survive conversion in both directions.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);

    const std::string utf8 = ToUTF8Converter::convertCP866ToUtf8_manual(bytes);
    require(utf8.size() >= bytes.size() && utf8.size() <= 3 * bytes.size());
    require(Utf8ToCP866Converter::convertUtf8ToCP866_manual(utf8) == bytes);

    require(Utf8ToCP866Converter::convertUtf8ToCP866_manual(bytes).size() <= bytes.size());
    return 0;
}
