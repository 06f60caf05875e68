#include "fuzz/support/fuzzing.h"
#include "lib/rolling2/rol_settings.h"
#include "lib/util/conf_ini.h"
#include "server/diagnostics/VeskkntrReader.h"

namespace {

void requireKeys(IniFile& file) {
    std::vector<char> key(IniFile::kValueMax + 1);
    std::vector<char> value(IniFile::kValueMax + 1);
    while (file.GetNextKey(key.data(), value.data()) == 0) {
        require(std::strlen(key.data()) <= IniFile::kValueMax);
        require(std::strlen(value.data()) <= IniFile::kValueMax);
    }
}

/// The values that the journal and the server take from the file are usable.
void requireSettings(const std::string& path) {
    SRolIniFileSettings settings = RolReadSettings(path.c_str());
    RolCorrectSettings(settings);
    require(RolSettingsAreFilled(settings));
    std::int16_t controller = 0;
    RolReadController(path.c_str(), controller);
    VeskkntrReader reader;
    require(reader.getNumKontr(path) == reader.getNumKontr());
    require(reader.getCycleTime(path) == reader.getCycleTime());
}

}  // namespace

/// A settings file of any content: nothing crashes, and no text is longer than its buffer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string& path = inputFile(data, size);
    requireSettings(path);
    IniFile file(path.c_str(), kIniRead);
    const int opened = file.Open();
    require(opened == 0 || (opened == 3 && file.TableSecBeg == nullptr));

    std::vector<char> text(IniFile::kLongValueMax + 1);
    for (const char* key : {"MaxNumMessageMemory", "k", ""}) {
        int number = 0;
        static_cast<void>(file.CfgGet("ROLLING", nullptr, nullptr, key, number));
        const bool isFound = file.CfgGetMax(nullptr, nullptr, nullptr, key, text.data()) == 0;
        require(!isFound || std::strlen(text.data()) <= IniFile::kLongValueMax);
    }
    if (file.FindSection(nullptr, nullptr, nullptr) == 0) requireKeys(file);
    require(file.Close() == 0);
    return 0;
}
