#include "server/plan/TreeNames.h"

#include <algorithm>

#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"
#include "server/text/ToUTF8Converter.h"

namespace {

std::string prefixFor(std::string_view applicationName, const char* tree) {
    if (applicationName.empty()) return tree;
    return std::string(applicationName).append(".").append(tree);
}

}  // namespace

std::string operativePrefix(std::string_view applicationName) {
    return prefixFor(applicationName, "Operative");
}

std::string historicalPrefix(std::string_view applicationName) {
    return prefixFor(applicationName, "Historical");
}

std::string groupFolderName(const Section& section) {
    const auto name = std::ranges::find(section.params, "Name", &KeyValue::key);
    if (name == section.params.end()) {
        return "Group_" + std::to_string(getNumberGroup(section.name));
    }
    return ToUTF8Converter::convertCP866ToUtf8_manual(name->value);
}

std::string groupText(std::string_view groupName) {
    return std::string(".").append(groupName).append(".");
}

std::string groupItemPrefix(const std::string& operativePrefix, const PublishedType& published,
                            std::string_view groupText) {
    std::string prefix = operativePrefix;
    if (published.kind == VariableType::RV) return prefix.append(published.folderName).append(".");
    return prefix.append(groupText);
}

std::string plotterFolderName(int plotter, const std::string& configuredNameCp866) {
    if (configuredNameCp866.empty()) return std::string(kPlotterSection) + std::to_string(plotter);
    return ToUTF8Converter::convertCP866ToUtf8_manual(configuredNameCp866);
}

std::string historyTagName(int plotter, int pen, int variableNum, std::string_view kindWord) {
    return "R" + std::to_string(plotter) + "_P" + std::to_string(pen) + "." +
           std::string(kindWord) + "_" + std::to_string(variableNum);
}

std::string_view penKindWord(int variableKind) {
    const bool known = variableKind >= 0 && variableKind < static_cast<int>(kKinds.size());
    return known ? kKinds[static_cast<std::size_t>(variableKind)].word : std::string_view();
}

PenIds penIds(bool listed, const std::string& historicalPrefix, const std::string& plotterFolder,
              const std::string& tagName) {
    if (!listed) return {tagName, tagName + ".A"};
    const std::string path = historicalPrefix + "." + plotterFolder + "." + tagName;
    return {path, path};
}
