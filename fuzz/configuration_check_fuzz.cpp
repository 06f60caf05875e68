// Configurations of any content: opcuacheck ends, and parses the file as its reader does.

#include <sstream>

#include "fuzz/support/fuzzing.h"
#include "server/config/TrimString.h"
#include "server/plan/TagConfig.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/print.h"
#include "tools/opcuacheck/tree.h"

using namespace tools::opcuacheck;

namespace {

/// Every loaded value is in the line that the checker names for it. Names with a line feed come
/// from an unclosed heading, which is reported as such.
void requireSameEntries(const ConfigFile& file, const ServerView& view) {
    for (const auto& heading : file.headings()) {
        if (!heading.closed) return;
    }
    for (const Section& section : view.sections) {
        for (const KeyValue& entry : section.params) {
            const auto entries = file.find(section.name, entry.key);
            require(!entries.empty() && entries.back()->line == entry.line);
            require(TrimString(std::string(entries.back()->value)) == entry.value);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Database database;
    database.counts.fill(20);  // more would only take time
    database.manualInputs = {{{}, {2}, {3, 4}}};
    const std::string& path = inputFile(data, size);
    const auto file = openConfigFile(path);
    require(file != nullptr);
    const ServerView view = viewAsServer(path, "", database);
    requireSameEntries(*file, view);
    const Checked checked{*file, view, database};
    const Findings findings = allFindings(checked);
    std::ostringstream out;
    printFindings(out, "file", findings, checked, {});
    printFindingsJson(out, findings, *file, tools::Language::en);
    printTreeJson(out, treeOf(view, database));
    return 0;
}
