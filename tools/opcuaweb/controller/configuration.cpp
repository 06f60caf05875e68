#include "tools/opcuaweb/controller/configuration.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

#include "server/config/ConfigFile.h"
#include "server/text/Utf8ToCP866Converter.h"
#include "tools/opcuacheck/display_text.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/rules.h"
#include "tools/opcuacheck/server_view.h"
#include "tools/opcuacheck/tree.h"
#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

Configuration::Configuration(std::string file, const std::string& settings,
                             opcuacheck::Database database)
    : file_(std::move(file)),
      settingsPath_((std::filesystem::path(settings) / "veskkntr.ini").string()),
      database_(std::move(database)) {}

namespace {

Json linesOf(const ConfigFile& file) {
    Json lines = Json::array();
    for (const std::string_view line : file.lines()) {
        lines.push_back(opcuacheck::shown(line));
    }
    return lines;
}

Json findingJson(const opcuacheck::Finding& finding) {
    const opcuacheck::Rule& rule = opcuacheck::ruleOf(finding.rule);
    const auto text = [&](const Text& pattern) {
        return Json{{"ru", opcuacheck::filled(pattern.ru, finding.arguments)},
                    {"en", opcuacheck::filled(pattern.en, finding.arguments)}};
    };
    return {{"line", finding.trueLine > 0 ? finding.trueLine : finding.line},
            {"severity", rule.severity == opcuacheck::Severity::error ? "error" : "warning"},
            {"code", rule.code},
            {"message", text(rule.message)},
            {"advice", text(rule.advice)}};
}

/// How many nodes the lists give, counted before any is made: a short text can ask for millions.
std::size_t plannedNodes(const opcuacheck::ServerView& view) {
    std::size_t count = 0;
    for (const opcuacheck::PublishedTag& tag : view.tags) {
        const auto items = view.items.find({tag.type->folderId, tag.groupFolder});
        count += 1 + (items == view.items.end() ? 0 : items->second.items.size());
    }
    return count;
}

Json treeJson(const opcuacheck::ServerView& view, const opcuacheck::Database& database) {
    Json nodes = Json::array();
    for (const opcuacheck::TreeNode& node : opcuacheck::treeOf(view, database)) {
        nodes.push_back({{"id", node.id},
                         {"parent", node.parentId},
                         {"name", node.name},
                         {"class", node.isVariable() ? "variable" : "object"},
                         {"dataType", node.dataType},
                         {"access", node.access},
                         {"uncertain", node.uncertain}});
    }
    return nodes;
}

/// Findings and tree, as far as they go into an answer.
Json checkedJson(const opcuacheck::ServerView& view, const opcuacheck::Findings& findings,
                 const opcuacheck::Database& database) {
    Json list = Json::array();
    for (std::size_t i = 0; i < std::min(findings.size(), kMostFindings); ++i) {
        list.push_back(findingJson(findings[i]));
    }
    const bool fits = view.worked && plannedNodes(view) <= kMostPlannedNodes;
    return {{"findings", std::move(list)},
            {"findingsComplete", findings.size() <= kMostFindings},
            {"treeComplete", fits},
            {"tree", fits ? treeJson(view, database) : Json::array()}};
}

Json countsOf(const opcuacheck::Findings& findings) {
    const auto errors = std::ranges::count_if(findings, [](const opcuacheck::Finding& finding) {
        return opcuacheck::ruleOf(finding.rule).severity == opcuacheck::Severity::error;
    });
    return {{"errors", errors}, {"warnings", std::ssize(findings) - errors}};
}

}  // namespace

namespace {

/// A pipe would keep its reader waiting, and a file of any size takes as much memory.
bool isReadableSize(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) &&
           std::filesystem::file_size(path, error) <= kMostConfigurationFile && !error;
}

}  // namespace

std::optional<Json> Configuration::checkedFile(const std::string& path, Extent extent) const {
    if (!isReadableSize(path)) return std::nullopt;
    const auto file = openConfigFile(path);
    if (!file || !file->isReadable()) return std::nullopt;
    const opcuacheck::ServerView view = opcuacheck::viewAsServer(path, settingsPath_, database_);
    const auto findings = opcuacheck::allFindings({*file, view, database_});
    if (extent == Extent::counts) return countsOf(findings);
    Json answer = {{"file", file_}, {"lines", linesOf(*file)}};
    answer.update(checkedJson(view, findings, database_));
    return answer;
}

std::optional<Json> Configuration::current() {
    const std::lock_guard lock(mutex_);
    return checkedFile(file_, Extent::all);
}

std::optional<Json> Configuration::findings() {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return std::nullopt;
    return checkedFile(file_, Extent::counts).value_or(Json());
}

namespace {

/// A file in memory only.
class MemoryFile {
  public:
    explicit MemoryFile(const std::string& bytes)
        : descriptor_(memfd_create("configuration", MFD_CLOEXEC)) {
        const char* next = bytes.data();
        const char* const end = next + bytes.size();
        while (descriptor_ >= 0 && next < end) {
            const ssize_t written = write(descriptor_, next, static_cast<std::size_t>(end - next));
            if (written <= 0) break;
            next += written;
        }
        whole_ = descriptor_ >= 0 && next == end;
    }
    ~MemoryFile() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] bool isWhole() const { return whole_; }
    [[nodiscard]] std::string path() const {
        return "/proc/self/fd/" + std::to_string(descriptor_);
    }

  private:
    int descriptor_;
    bool whole_ = false;
};

}  // namespace

std::optional<Json> Configuration::check(const std::string& text) {
    const MemoryFile file(Utf8ToCP866Converter::convertUtf8ToCP866_manual(text));
    const std::lock_guard lock(mutex_);
    return file.isWhole() ? checkedFile(file.path(), Extent::all) : std::nullopt;
}

}  // namespace tools::opcuaweb
