#include "tools/opcuaweb/program.h"

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <thread>

#include "tools/opcuaweb/api/routes.h"
#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

namespace {

/// Blocked in this thread and all that it starts, so that only `sigwait` gets them.
sigset_t blockedStopSignals() {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    static_cast<void>(sigaction(SIGPIPE, &ignore, nullptr));
    return signals;
}

/// Each connection takes a descriptor; the usual limit of 1024 is for programs that use select.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    static_cast<void>(setrlimit(RLIMIT_NOFILE, &limit));
}

void sayRefusal(const Options& options, const std::string& problem) {
    const Text help{"Справка: opcuaweb --help", "Help: opcuaweb --help"};
    std::cerr << "opcuaweb: " << problem << "\n" << help.in(options.language) << "\n";
}

/// A server that hangs, or a browser that does not read, would keep their threads for many seconds. There
/// is nothing to be saved.
void endSoon() {
    std::thread([] {
        std::this_thread::sleep_for(kEndTime);
        std::_Exit(kStopped);
    }).detach();
}

int serve(const Options& options, Passwords* passwords) {
    const sigset_t signals = blockedStopSignals();
    raiseDescriptorLimit();
    Services services(options);
    WebServer server(passwords);
    server.addFiles(assets());
    addRoutes(server, services);
    if (!server.bind(options.listen)) {
        const Text problem{" не занять: адрес занят или не этой машины",
                           " cannot be used: it is taken or not this machine's"};
        std::cerr << "opcuaweb: " << pageUrl(options.listen) << problem.in(options.language)
                  << "\n";
        return kCannotListen;
    }
    services.start();
    std::thread listener([&] { server.serve(); });
    while (!server.isServing()) {  // a signal before that would be lost
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::cout << pageUrl(options.listen) << "  <-  " << options.url << "\n" << std::flush;
    int signal = 0;
    sigwait(&signals, &signal);
    endSoon();
    services.stop();  // ends the event streams, for which the listener would wait
    server.stop();
    listener.join();
    return kStopped;
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    Options options;
    if (const auto status = readOptions(argc, argv, options)) return *status;
    Passwords passwords;
    if (options.passwordFile.empty()) return serve(options, nullptr);
    const std::string problem = passwords.read(options.passwordFile, options.language);
    if (!problem.empty()) {
        sayRefusal(options, problem);
        return kBadUsage;
    }
    return serve(options, &passwords);
}

}  // namespace tools::opcuaweb
