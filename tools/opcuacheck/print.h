#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/tree.h"

namespace tools::opcuacheck {

struct PrintStyle {
    Language language = Language::ru;
    bool colours = false;
};

/// The findings as text, in order, and a summary.
void printFindings(std::ostream& out, const std::string& file, const Findings& findings,
                   const Checked& checked, const PrintStyle& style);
/// The findings as one JSON array.
void printFindingsJson(std::ostream& out, const Findings& findings, const ConfigFile& file,
                       Language language);

/// A line for each kind of which the number of variables is unknown.
void printAssumedCounts(std::ostream& out, const Checked& checked, Language language);
void printTree(std::ostream& out, const std::vector<TreeNode>& tree, const Checked& checked,
               const PrintStyle& style);
/// The nodes as one JSON array.
void printTreeJson(std::ostream& out, const std::vector<TreeNode>& tree);

}  // namespace tools::opcuacheck
