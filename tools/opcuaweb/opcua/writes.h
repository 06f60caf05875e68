#pragma once

#include <open62541/types.h>

#include <mutex>
#include <string>
#include <variant>

#include "tools/opcuaweb/basics/problem.h"
#include "tools/opcuaweb/opcua/asker.h"
#include "tools/opcuaweb/streams/browsers.h"

namespace tools::opcuaweb {

/// Writes single values, one at a time. Any thread.
class Writes {
  public:
    using Answer = std::variant<Json, Problem>;

    Writes(Asker& asker, Browsers& browsers) : asker_(asker), browsers_(browsers) {}

    /// The value as it is and as it would be: {"old", "new", "type"}.
    [[nodiscard]] Answer ask(const std::string& node, const std::string& text);
    /// Writes, reads back until the value is there, at most for a second, prints one line, and sends the event "write".
    /// @param address  of the browser
    [[nodiscard]] Answer write(const std::string& node, const std::string& text,
                               const std::string& address);

  private:
    struct Prepared;
    class Job;
    [[nodiscard]] static std::variant<Prepared, Problem> prepared(Session& session,
                                                                  const std::string& node,
                                                                  const std::string& text);
    [[nodiscard]] Answer asked(const std::function<Answer(Session&)>& question);

    Asker& asker_;
    Browsers& browsers_;
    std::timed_mutex oneAtATime_;
};

}  // namespace tools::opcuaweb
