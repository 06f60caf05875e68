#include "server/config/IniConfigManager.h"

#include <cstdint>

// The reader is compiled here and not linked: the distribution builds its library with the
// machine's default char, but names must be sorted as unsigned chars on every machine. No wide
// characters.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include "server/config/ConfigFile.h"
#include "server/config/LineSearch.h"
#include "server/config/ListSections.h"
#include "server/config/TrimString.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/diagnostics/SleepForever.h"

using IniReader = CSimpleIniTempl<char, SI_GenericNoCase<char>, SI_ConvertA<char>>;

IniConfigManager& IniConfigManager::instance() {
    static IniConfigManager manager;
    return manager;
}

bool IniConfigManager::loadConfig(const std::string& path) {
    if (!loaded_) loaded_ = readConfigFile(path, sections_) == 0;
    return loaded_;
}

namespace {

/// Reports the keys of the section that the schema does not know, and returns the others.
/// @param reportedLines  lines already named for unknown keys; grows
Section acceptedPart(const IniReader& ini, const ConfigFile& file, const char* name,
                     const std::string& path, std::vector<std::int32_t>& reportedLines) {
    Section section{name, {}, file.lineOfSection(name)};
    IniReader::TNamesDepend keys;
    ini.GetAllKeys(name, keys);
    for (const auto& key : keys) {
        if (!ListSections::getInstance().hasParam(section.name, key.pItem)) {
            reportConfigError(ConfigError::unknownKey,
                              findLineNumberParam(path, key.pItem, reportedLines),
                              {name, key.pItem, false});
            continue;
        }
        if (const char* value = ini.GetValue(name, key.pItem)) {
            section.params.push_back({key.pItem, TrimString(value), file.lineOf(name, key.pItem)});
        }
    }
    return section;
}

}  // namespace

int IniConfigManager::readConfigFile(const std::string& path, std::vector<Section>& sections) {
    const auto file = openConfigFile(path);
    if (!file) {
        reportConfigError(ConfigError::fileNotOpened);
        sleepForever();
    }
    IniReader ini(true, false, false);  // UTF-8 (no conversion), no double keys, no long values
    // A file that cannot be read or parsed has no sections and therefore no port, which is reported
    // as the error.
    (void)ini.LoadData(file->bytes());

    std::vector<std::int32_t> reportedLines;
    IniReader::TNamesDepend names;
    ini.GetAllSections(names);
    for (const auto& name : names) {
        if (ListSections::getInstance().hasSection(name.pItem)) {
            sections.push_back(acceptedPart(ini, *file, name.pItem, path, reportedLines));
        } else {
            reportConfigError(ConfigError::unknownSection,
                              findLineNumberBySubstring(path, name.pItem), {name.pItem, "", false});
        }
    }
    return 0;
}
