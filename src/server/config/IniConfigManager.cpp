#include "server/config/IniConfigManager.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>

// The reader is compiled here and not linked: the distribution builds its library with the
// machine's own char, but the order of names must be that of an unsigned one everywhere. No wide
// characters.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>

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

static void load(IniReader& ini, const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    // An unreadable file has no sections, and so no port: that is the error which will be reported.
    if (file) static_cast<void>(ini.LoadFile(file.get()));
}

/// Reports the keys of the section that the schema does not know, and returns the others.
/// @param reportedLines  lines already named for unknown keys; grows
static Section acceptedPart(const IniReader& ini, const char* name, const std::string& path,
                            std::vector<std::int32_t>& reportedLines) {
    Section section{name, {}};
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
            section.params.push_back({key.pItem, TrimString(value)});
        }
    }
    return section;
}

int IniConfigManager::readConfigFile(const std::string& path, std::vector<Section>& sections) {
    if (!std::ifstream(path)) {
        reportConfigError(ConfigError::fileNotOpened);
        sleepForever();
    }
    IniReader ini(true, false, false);  // UTF-8 (no conversion), no double keys, no long values
    load(ini, path);

    std::vector<std::int32_t> reportedLines;
    IniReader::TNamesDepend names;
    ini.GetAllSections(names);
    for (const auto& name : names) {
        if (ListSections::getInstance().hasSection(name.pItem)) {
            sections.push_back(acceptedPart(ini, name.pItem, path, reportedLines));
        } else {
            reportConfigError(ConfigError::unknownSection,
                              findLineNumberBySubstring(path, name.pItem), {name.pItem, "", false});
        }
    }
    return 0;
}
