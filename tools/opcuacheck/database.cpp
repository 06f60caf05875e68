#include "tools/opcuacheck/database.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <span>
#include <string_view>

#include "lib/bd_vesk/attributes.h"
#include "lib/bd_vesk/typevars.h"
#include "server/bounds/ConfigBounds.h"
#include "server/config/IniText.h"

namespace tools::opcuacheck {

std::optional<int> Database::rvTypeOf(VariableType kind, int tag) const {
    if (kind != VariableType::RV) return 0;
    if (!manualInputs) return std::nullopt;
    for (int type = 2; type > 0; --type) {
        if (std::ranges::binary_search((*manualInputs)[static_cast<std::size_t>(type)], tag)) {
            return type;
        }
    }
    return 0;
}

// ---- Counts ------------------------------------------------------------------------------------

namespace {

bool readCount(std::string_view item, Database& database) {
    const auto equals = item.find('=');
    if (equals == std::string_view::npos) return false;
    const auto* const kind = std::ranges::find_if(kKinds, [&](const VariableKind& row) {
        return lowered(row.word) == lowered(item.substr(0, equals));
    });
    const std::string_view digits = item.substr(equals + 1);
    int count = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, count);
    if (kind == kKinds.end() || error != std::errc{} || rest != end) return false;
    if (count < 0 || count > kLastTagNumber) return false;
    database.counts[static_cast<std::size_t>(kind->type)] = count;
    return true;
}

/// "va=, av=, rv=, vd= or dv="
std::string countKeys(std::string_view beforeLast) {
    std::string keys;
    for (const VariableKind& kind : kKinds) {
        if (&kind != kKinds.begin()) keys += &kind == &kKinds.back() ? beforeLast : ", ";
        keys += lowered(kind.word) + "=";
    }
    return keys;
}

}  // namespace

std::string readCounts(const std::string& text, Database& database, bool russian) {
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string item = text.substr(begin, end - begin);
        if (!readCount(item, database)) {
            return "\"" + item + "\"" +
                   (russian ? " — не " + countKeys(" или ") + " с числом 0.."
                            : " is not " + countKeys(" or ") + " with a number 0..") +
                   std::to_string(kLastTagNumber);
        }
        begin = end + 1;
    }
    return {};
}

// ---- Attribute files ---------------------------------------------------------------------------

namespace {

std::optional<std::vector<std::uint8_t>> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    return std::vector<std::uint8_t>{std::istreambuf_iterator<char>(file), {}};
}

std::vector<TYPE_VAL> valueTypes(const VariableKind& kind, const AtrFiles& files) {
    const TableRow& row = kTables.at(kind.dbCode - 1U);
    const auto index = static_cast<std::size_t>(row.fileEntry);
    if (index >= files.entries.size()) return {};
    const ListAllVar& entry = files.entries[index];
    std::vector<TYPE_VAL> types;
    for (int number = 1; number <= entry.Num; ++number) {
        const AtrPlace place = placeOf(row.code, entry, number, row.passportSize, nullptr);
        types.push_back(static_cast<TYPE_VAL>(place.valueType));
    }
    return types;
}

}  // namespace

std::string readAttributeFiles(const std::string& folder, Database& database, bool russian) {
    std::array<std::vector<std::uint8_t>, 2> contents;
    const std::array<const char*, 2> names{"/offatrs.dat", "/atributs.dat"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto bytes = readFile(folder + names[i]);
        if (!bytes) return folder + names[i] + (russian ? " не читается" : " cannot be read");
        contents[i] = std::move(*bytes);
    }
    const AtrFiles files = readAtrFiles(contents[0], contents[1]);
    auto& attributes = database.attributes.emplace();
    for (const VariableKind& kind : kKinds) {
        attributes[static_cast<std::size_t>(kind.type)] = valueTypes(kind, files);
    }
    if (files.sameEntries && files.faults.empty()) return {};
    return folder + (russian
                         ? ": файлы offatrs.dat и atributs.dat повреждены или не из одного набора"
                         : ": offatrs.dat and atributs.dat are damaged or do not belong together");
}

const char* publishedTypeName(TYPE_VAL type) {
    static constexpr auto kNames =
        std::to_array<const char*>({kNoType, "SByte", "Byte", "Int16", "UInt16", "Int32", "UInt32",
                                    "Float", "String", "String"});
    static_assert(kNames.size() == kValueTypes.size(), "one for each value type");
    const auto index = static_cast<std::size_t>(type);
    return index < kNames.size() ? kNames[index] : kNames[0];
}

}  // namespace tools::opcuacheck
