#pragma once

#include <optional>
#include <string>

#include "tools/chart/drawing.h"

// --out and --size.
namespace tools::opcuaview {

/// The format that the file's name asks for: ".svg" or ".png", in any case.
[[nodiscard]] std::optional<PictureFormat> pictureFormat(const std::string& path);

/// "1200x600"; width 400 to 8000, height 250 to 8000.
[[nodiscard]] std::optional<PictureSize> parseSize(const std::string& text);

/// Why no file can be made in the path's folder, in the system's words; empty if it can.
[[nodiscard]] std::string folderProblem(const std::string& path);

/// Writes the file in one step: under a temporary name beside it, which then becomes its own. After a
/// failure an earlier file is as it was.
/// @return empty, or the reason in the system's words
[[nodiscard]] std::string writePicture(const std::string& path, const std::string& contents);

}  // namespace tools::opcuaview
