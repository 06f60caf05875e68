#pragma once

#include <string>

/// Where the stand-in keeps its files, from the environment variables of the controller's programs.
/// The environment is read with each call.
namespace trends {

/// `trends.ini` in the folder SETTINGS, else /zrt/settings.
[[nodiscard]] std::string definitionsFile();

/// `trends/archive.db` below VESKPATH, else /zrt.
[[nodiscard]] std::string archiveFile();

}  // namespace trends
