#pragma once

#include <csignal>
#include <iostream>
#include <string>
#include <utility>

#include "simulator.h"
#include "support/child_process.h"

/// zrtsim in a process of its own, as its main runs it: ready after construction, ended by SIGTERM
/// at the end of the scope.
class RunningSimulator {
  public:
    explicit RunningSimulator(sim::Options options)
        : child_([options = std::move(options)] {
              static volatile std::sig_atomic_t stopAsked = 0;
              signal(SIGTERM, [](int) { stopAsked = 1; });
              std::cout << std::unitbuf;
              sim::Simulator(options, std::cout, stopAsked).run();
              return 0;
          }) {
        EXPECT_TRUE(waitUntil([&] { return out().find("\nzrtsim: ready\n") != std::string::npos; }))
            << out() << child_.err();
    }
    ~RunningSimulator() {
        kill(child_.pid(), SIGTERM);
        EXPECT_EQ(child_.wait(), 0);
    }
    RunningSimulator(const RunningSimulator&) = delete;
    RunningSimulator& operator=(const RunningSimulator&) = delete;

    std::string out() const { return child_.out(); }

  private:
    ChildProcess child_;
};
