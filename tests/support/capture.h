#pragma once

#include "tests/support/basics.h"

/// Collects what is written to a descriptor, so that the output of perror and printf is checked as
/// an operator sees it. From construction to text() or the end of the scope.
class Capture {
  public:
    /// @param fd  STDOUT_FILENO or STDERR_FILENO
    explicit Capture(int fd)
        : fd_(fd), file_(memfd_create("capture", MFD_CLOEXEC)), former_((flush(), dup(fd))) {
        dup2(file_, fd_);
    }
    ~Capture() {
        stop();
        close(file_);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    /// Ends the capture and returns what was written; later calls return the same.
    std::string text() {
        stop();
        return contents(file_);
    }

    /// All bytes of a file that can be read from its start.
    static std::string contents(int file) {
        std::string all;
        char part[4096];
        off_t at = 0;
        for (ssize_t got = 0; (got = pread(file, part, sizeof part, at)) > 0; at += got)
            all.append(part, static_cast<std::size_t>(got));
        return all;
    }

  private:
    static void flush() {
        std::fflush(nullptr);
        std::cout.flush();
    }
    void stop() {
        if (former_ == -1) return;
        flush();
        dup2(former_, fd_);
        close(former_);
        former_ = -1;
    }

    int fd_;
    int file_;
    int former_;
};
