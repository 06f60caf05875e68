#pragma once

#include <string>

#include "tools/command_line/reader.h"

namespace tools {

/// A script by which bash completes the program's commands, options and their values. The names of values
/// say what these are, which is why `app` is to be declared in English: "FILE" a file, "FOLDER" a folder,
/// "ru|en" one of these words; of all others nothing is offered.
[[nodiscard]] std::string bashCompletion(const CLI::App& app);

}  // namespace tools
