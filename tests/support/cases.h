#pragma once

#include "support/basics.h"

/// A configuration and what is expected of it. In a file of them each is "==== NAME", the lines
/// expected, "----", the configuration, and an empty line.
struct Case {
    std::string name;
    std::vector<std::string> expected;
    std::string text;
};

inline std::vector<Case> readCases(const std::string& path) {
    std::vector<Case> cases;
    std::ifstream file(path);
    bool inText = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("==== ")) {
            // The empty line before it is not the configuration's.
            if (!cases.empty()) cases.back().text.pop_back();
            cases.push_back({line.substr(5), {}, {}});
            inText = false;
        } else if (line == "----") {
            inText = true;
        } else if (inText) {
            cases.back().text += line + '\n';
        } else {
            cases.back().expected.push_back(line);
        }
    }
    return cases;
}
