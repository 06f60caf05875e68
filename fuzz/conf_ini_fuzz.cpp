#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lib/util/conf_ini.h"

static void require(bool holds) {
    if (!holds) std::abort();
}

static void requireKeys(IniFile& file) {
    std::vector<char> key(IniFile::kValueMax + 1);
    std::vector<char> value(IniFile::kValueMax + 1);
    while (file.GetNextKey(key.data(), value.data()) == 0) {
        require(std::strlen(key.data()) <= IniFile::kValueMax);
        require(std::strlen(value.data()) <= IniFile::kValueMax);
        std::vector<int> numbers;
        constexpr int kMost = 100;
        if (IniFile::ConvertStrToListVar(value.data(), kMost, numbers) != 0)
            require(numbers.empty());
        for (const int number : numbers)
            require(number >= 1 && number <= kMost);
    }
}

/// A settings file of any content: nothing crashes, and no text is longer than its buffer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int bytes = memfd_create("veskkntr.ini", MFD_CLOEXEC);
    require(write(bytes, data, size) == static_cast<ssize_t>(size));
    IniFile file(("/proc/self/fd/" + std::to_string(bytes)).c_str(), kIniRead);
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
    close(bytes);
    return 0;
}
