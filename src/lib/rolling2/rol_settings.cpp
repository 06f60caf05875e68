#include "lib/rolling2/rol_settings.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstddef>
#include <cstring>

#include "lib/rolling2/rol_report.h"
#include "lib/util/conf_ini.h"
#include "lib/util/veskpath.h"

namespace {

constexpr std::uint16_t kDefaultInMemory = 3000;
constexpr std::uint16_t kDefaultInFile = 250;
constexpr std::uint64_t kDefaultSaveIntervalMs = 1000;
constexpr const char* kSection = "ROLLING";

void setPath(SRolIniFileSettings& settings, const char* path) {
    std::memset(settings.DictPath, 0, sizeof(settings.DictPath));
    std::memcpy(settings.DictPath, path,
                std::min(std::strlen(path), sizeof(settings.DictPath) - 1));
}

/// @return the number of a key, `otherwise` without one or for one outside 0 to `max`
std::uint64_t numberOr(std::uint64_t otherwise, IniFile& file, const char* section, const char* key,
                       int max) {
    int number = -1;
    static_cast<void>(file.CfgGet(section, nullptr, nullptr, key, number));  // or -1
    return number >= 0 && number <= max ? static_cast<std::uint64_t>(number) : otherwise;
}

}  // namespace

void RolReadController(const char* path, std::int16_t& number) {
    IniFile file(path, kIniRead);
    if (file.Open() != 0) return;
    static_cast<void>(file.CfgGet("StartSetup", nullptr, nullptr, "Number_kontr", number));
}

SRolIniFileSettings RolReadSettings(const char* path) {
    SRolIniFileSettings settings{
        kDefaultInMemory, kDefaultInFile, kDefaultSaveIntervalMs, kRolInternalDictionary, {}};
    setPath(settings, SRV_Path.DIC);
    IniFile file(path, kIniRead);
    if (file.Open() != 0) {
        // A file with a broken header is reported with the same text.
        RolReport(RolText::iniFileMissing, {.path = path});
        return settings;
    }
    settings.NumMessagesInMemory = static_cast<std::uint16_t>(
        numberOr(kDefaultInMemory, file, kSection, "MaxNumMessageMemory", UINT16_MAX));
    settings.NumMessagesInFile = static_cast<std::uint16_t>(
        numberOr(kDefaultInFile, file, kSection, "MaxNumMessageDisk", UINT16_MAX));
    settings.SaveInterval = numberOr(kDefaultSaveIntervalMs, file, kSection, "SaveTime", INT_MAX);
    // KEPT: the system dictionary has a section of its own name; one in "ROLLING" is not read.
    // Required by the interface.
    settings.SysDict =
        numberOr(kRolInternalDictionary, file, "SystemDictionary", "SystemDictionary", INT_MAX);
    char folder[IniFile::kValueMax + 1];
    if (file.CfgGet(kSection, nullptr, nullptr, "Path_To_Dictionary", folder) == 0)
        setPath(settings, folder);
    return settings;
}

bool RolSettingsAreFilled(const SRolIniFileSettings& settings) {
    SRolIniFileSettings corrected = settings;
    RolCorrectSettings(corrected);
    return std::memcmp(&corrected, &settings, sizeof(settings)) == 0;
}

void RolFillSettings(const SRolIniFileSettings& settings, SRolIniFileSettings& shared) {
    constexpr std::size_t kRest = offsetof(SRolIniFileSettings, NumMessagesInFile);
    std::memcpy(reinterpret_cast<char*>(&shared) + kRest,
                reinterpret_cast<const char*>(&settings) + kRest, sizeof(settings) - kRest);
    auto* const capacity = reinterpret_cast<std::uint16_t*>(&shared);
    std::atomic_ref(*capacity).store(settings.NumMessagesInMemory, std::memory_order_release);
}

void RolCorrectSettings(SRolIniFileSettings& settings) {
    constexpr std::uint16_t kLeastMessages = 10;
    constexpr std::uint64_t kLeastSaveIntervalMs = 100;
    if (settings.NumMessagesInMemory < kLeastMessages)
        settings.NumMessagesInMemory = kDefaultInMemory;
    if (settings.NumMessagesInFile < kLeastMessages) settings.NumMessagesInFile = kDefaultInFile;
    if (settings.NumMessagesInFile > settings.NumMessagesInMemory)
        settings.NumMessagesInFile = settings.NumMessagesInMemory;
    // 0 is a valid setting, which the saver interprets.
    if (settings.SaveInterval != 0 && settings.SaveInterval < kLeastSaveIntervalMs)
        settings.SaveInterval = kDefaultSaveIntervalMs;
}
