#pragma once

#include <string>
#include <string_view>

#include "tools/command_line/reader.h"

namespace tools {

/// What a manual page says besides the command line's own texts.
struct PageFrame {
    std::string date;      ///< "2026-11-22"
    std::string source;    ///< program and version at the foot of the page: "opcuasrv 1.0.0"
    std::string sections;  ///< troff: what stands before the first ".SH" ends the description, the
                           ///< rest ends the page
};

/// The manual page of section 1, in the language in which `app` was declared: name and description are
/// those of its help, as are options and commands. What the footer says behind "Exit status:" gets a
/// section of its own. troff with the macros of man(7), UTF-8.
[[nodiscard]] std::string manualPage(const CLI::App& app, Language language,
                                     const PageFrame& frame);

/// The text as troff prints it literally, on one line. A hyphen becomes a minus sign, so that options
/// and times can be copied out of the page.
[[nodiscard]] std::string troff(std::string_view text);

}  // namespace tools
