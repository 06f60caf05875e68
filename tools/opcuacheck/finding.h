#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/opcuacheck/database.h"
#include "tools/opcuacheck/display_text.h"
#include "tools/opcuacheck/rules.h"
#include "tools/opcuacheck/server_view.h"

namespace tools::opcuacheck {

/// One place of the configuration and what is wrong with it. Texts are UTF-8.
struct Finding {
    RuleId rule;
    std::int32_t line = 0;  ///< 0: the file as a whole. For an error the line that the server names
    std::int32_t trueLine = 0;  ///< line of the cause, if the server names another line
    std::string section;
    std::string key;
    std::vector<std::string> arguments;  ///< of the rule's texts
    std::optional<std::string> logLine;  ///< what the server writes to its log, if it does
};

using Findings = std::vector<Finding>;

/// Everything that the checks use.
struct Checked {
    const ConfigFile& file;
    const ServerView& view;
    const Database& database;
};

/// The server's own reports, explained.
void addServerErrors(const Checked& checked, Findings& findings);

// The traps that the server accepts silently, by subject.
void addFileTraps(const ConfigFile& file, Findings& findings);
void addGeneralTraps(const Checked& checked, Findings& findings);
void addListTraps(const Checked& checked, Findings& findings);
void addEntryTraps(const Checked& checked, Findings& findings);
void addSectionTraps(const Checked& checked, Findings& findings);

/// All findings, ordered by line, errors first within a line; each place and code once.
[[nodiscard]] Findings allFindings(const Checked& checked);

/// A finding about an entry of the loaded configuration, at the line whose value counts.
[[nodiscard]] Finding atEntry(RuleId rule, const Section& section, const KeyValue& entry,
                              std::vector<std::string> arguments = {});

/// Checks one entry after the other and reports findings at the current one.
class EntryLooker {
  public:
    EntryLooker(const Checked& checked, Findings& findings)
        : checked_(checked), findings_(findings) {}

  protected:
    void add(RuleId rule, std::vector<std::string> arguments) {
        findings_.push_back(atEntry(rule, *section_, *entry_, std::move(arguments)));
    }

    /// The current entry's value as in the file, with any comment after it.
    [[nodiscard]] std::string_view writtenValue() const {
        const auto entries = checked_.file.find(section_->name, entry_->key);
        return entries.empty() ? std::string_view() : entries.back()->value;
    }

    const Checked& checked_;
    Findings& findings_;
    const Section* section_ = nullptr;
    const KeyValue* entry_ = nullptr;
};

/// The number without trailing zeros: "29.5", "500".
[[nodiscard]] std::string numberText(double number);

/// The published type whose marker the key begins with; null for none.
[[nodiscard]] const PublishedType* typeOfEntry(std::string_view key);

/// "VA", "RVV": what engineers call a published type.
[[nodiscard]] std::string wordOf(const PublishedType& type);

/// The attribute numbers that may be exported, as ranges: "1-26, 28-35".
[[nodiscard]] std::string permittedNumbers(const PublishedType& type);

/// An example of an attribute entry of the type: "Значение, 29, OPC_READABLE".
[[nodiscard]] std::string exampleOf(const PublishedType& type);

}  // namespace tools::opcuacheck
