// Configurations of any content: opcuacheck ends, and takes the file apart as its reader does.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "fuzz/support/fuzzing.h"
#include "server/config/TrimString.h"
#include "server/plan/TagConfig.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/print.h"
#include "tools/opcuacheck/tree.h"

using namespace opcuacheck;

/// Every loaded value stands at the line that the checker would name for it. Names with a line feed
/// come from an unclosed heading, which is reported as such.
static void requireSameEntries(const ConfigText& text, const ServerView& view) {
    for (const auto& heading : text.headings()) {
        if (!heading.closed) return;
    }
    for (const Section& section : view.sections) {
        for (const KeyValue& entry : section.params) {
            const auto entries = text.find(section.name, entry.key);
            require(!entries.empty());
            require(TrimString(entries.back()->value) == entry.value);
        }
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Database database;
    database.counts.fill(20);  // more would only take time
    database.manualInputs = {{{}, {2}, {3, 4}}};
    const ConfigText text(bytes);
    const ServerView view = viewAsServer(inputFile(data, size), "", database);
    requireSameEntries(text, view);
    const Checked checked{text, view, database};
    const Findings findings = allFindings(bytes, checked);
    std::ostringstream out;
    printFindings(out, "file", findings, checked, {});
    printFindingsJson(out, findings, text, Language::en);
    printTreeJson(out, treeOf(view, database));
    return 0;
}
