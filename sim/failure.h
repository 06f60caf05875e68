#pragma once

#include <stdexcept>
#include <string>

namespace sim {

/// Exit statuses of zrtsim; docs/simulator.md explains them to its users.
enum class ExitCode : int {
    ok = 0,
    failed = 1,      // a file, segment or message channel could not be made
    usage = 2,       // invalid command line, or a file that it names is unreadable
    controller = 3,  // a live controller or another zrtsim is here
    foreign = 4,     // there are files or System V objects that zrtsim did not make
};

/// Ends the program with a message for its user. Thrown before or while the controller is set up;
/// what was made until then is removed on the way out.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}
    [[nodiscard]] ExitCode code() const { return code_; }

  private:
    ExitCode code_;
};

}  // namespace sim
