#include <csignal>
#include <exception>
#include <iostream>

#include "sim/failure.h"
#include "sim/layout/attribute_files.h"
#include "sim/library_lines.h"
#include "sim/options.h"
#include "sim/simulator.h"

namespace {

volatile std::sig_atomic_t stopAsked = 0;

void askToStop(int /*signal*/) {
    stopAsked = 1;
}

/// A closed terminal or pipe must not keep the program from cleaning up: hang-up stops it like
/// Ctrl-C, and output to a closed pipe is lost. Exceeding the limit for a file's size becomes a
/// failed write, which the trend recorder reports.
void installHandlers() {
    struct sigaction action {};
    action.sa_handler = askToStop;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        static_cast<void>(sigaction(signal, &action, nullptr));
    }
    action.sa_handler = SIG_IGN;
    static_cast<void>(sigaction(SIGPIPE, &action, nullptr));
    static_cast<void>(sigaction(SIGXFSZ, &action, nullptr));
    // The message channel runs an interval timer while it waits; it must not end the process.
    action.sa_handler = [](int) {};
    static_cast<void>(sigaction(SIGALRM, &action, nullptr));
}

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    const auto options = sim::parseOptions(argc, argv, exitStatus);
    if (!options) return exitStatus;
    if (options->attributeTable) {
        std::cout << sim::attributeTable();
        return 0;
    }
    std::cout << std::unitbuf;  // scripts wait for lines of the start-up
    installHandlers();
    sim::showLibraryLines();
    try {
        sim::Simulator(*options, std::cout, stopAsked).run();
        return static_cast<int>(sim::ExitCode::ok);
    } catch (const sim::Failure& failure) {
        std::cerr << "zrtsim: " << failure.what() << "\n";
        return static_cast<int>(failure.code());
    } catch (const std::exception& error) {
        std::cerr << "zrtsim: " << error.what() << "\n";
        return static_cast<int>(sim::ExitCode::failed);
    }
}
