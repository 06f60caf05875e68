#pragma once

#include "tests/support/files.h"

/// The installation folder of the sandbox, empty at first and again at the end.
class TemporarySite {
  public:
    TemporarySite() = default;
    ~TemporarySite() {
        for (const auto& entry : std::filesystem::directory_iterator(path("")))
            std::filesystem::remove_all(entry);
    }
    TemporarySite(const TemporarySite&) = delete;
    TemporarySite& operator=(const TemporarySite&) = delete;

    static std::filesystem::path path(const std::string& name) { return "/zrt/" + name; }
    static void write(const std::string& name, const std::string& text) {
        writeFile(path(name).string(), text);
    }
    static std::string read(const std::string& name) { return readFile(path(name).string()); }
};
