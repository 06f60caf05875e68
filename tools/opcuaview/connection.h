#pragma once

#include <functional>
#include <string>

#include "tools/client/session.h"
#include "tools/text/language.h"

namespace tools::opcuaview {

inline constexpr Text kNoConnection{"нет связи с ", "no connection to "};
inline constexpr Text kNotRestored{"связь не восстановлена: ", "the connection was not restored: "};

/// Tries to connect until the time is over, the server refuses this client for good, or a signal
/// asks the program to stop.
/// @param waits  called once, with the status, if the first attempt fails; may be empty
/// @return the status of the last attempt
[[nodiscard]] UA_StatusCode connectWithin(Session& session, double seconds,
                                          const std::function<void(UA_StatusCode)>& waits = {});

/// The same; a failure is reported on standard error, unless a signal ended the attempts.
/// @param problem  the beginning of that message, before the address
/// @param waits    called once with the same message if the first attempt fails; may be empty
[[nodiscard]] bool connect(Session& session, double waitSeconds, const Text& problem,
                           const std::function<void(const std::string&)>& waits = {});

}  // namespace tools::opcuaview
