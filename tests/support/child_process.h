#pragma once

#include "tests/support/capture.h"
#include "tests/support/wait_until.h"

/// A forked copy of the test that runs a function: as another process of the controller, or as a
/// fresh process for values that a process reads only once. Its output is collected. If a
/// GoogleTest expectation fails in it, or an exception is thrown, it ends with kFailed. Killed and
/// reaped at the end of the scope.
class ChildProcess {
  public:
    static constexpr int kFailed = 98;  ///< exit status after a failed expectation

    /// @param body  its result is the exit status. The parent's objects are not destroyed in it.
    explicit ChildProcess(const std::function<int()>& body)
        : out_(memfd_create("out", MFD_CLOEXEC)), err_(memfd_create("err", MFD_CLOEXEC)) {
        std::fflush(nullptr);
        std::cout.flush();
        pid_ = fork();
        if (pid_ == 0) run(body);
    }
    ~ChildProcess() {
        if (alive()) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status_, 0);
        }
        close(out_);
        close(err_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }

    /// False once it has ended (and was reaped).
    bool alive() {
        if (!ended_) ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
        return !ended_;
    }

    /// Waits for its end.
    /// @return its exit status; 128 + signal when a signal ended it; -1 when it still runs after
    ///         `deadline`.
    int wait(std::chrono::milliseconds deadline = std::chrono::milliseconds(20000)) {
        if (!waitUntil([this] { return !alive(); }, deadline)) return -1;
        const int status = WIFSIGNALED(status_) ? 128 + WTERMSIG(status_) : WEXITSTATUS(status_);
        if (status == kFailed) ADD_FAILURE() << "in the child:\n" << out() << err();
        return status;
    }

    /// What it has written so far.
    std::string out() const { return Capture::contents(out_); }
    std::string err() const { return Capture::contents(err_); }

  private:
    [[noreturn]] void run(const std::function<int()>& body) const {
        dup2(out_, STDOUT_FILENO);
        dup2(err_, STDERR_FILENO);
        int status = kFailed;
        try {
            status = body();
        } catch (const std::exception& e) {
            std::cerr << e.what() << '\n';
        }
        if (testing::Test::HasFailure()) status = kFailed;
        std::fflush(nullptr);
        std::cout.flush();
        _exit(status);
    }

    int out_;
    int err_;
    pid_t pid_ = -1;
    int status_ = 0;
    bool ended_ = false;
};

/// A pid that belonged to a process which has ended and was reaped.
inline pid_t deadPid() {
    ChildProcess child([] { return 0; });
    child.wait();
    return child.pid();
}
