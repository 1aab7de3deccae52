#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

namespace qrl::testing {

// While it lives, a timer fires SIGALRM every millisecond into a handler
// installed without SA_RESTART, so that blocking system calls fail with EINTR
// over and over.
class InterruptingSignals {
 public:
  InterruptingSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigemptyset(&action.sa_mask);
    EXPECT_EQ(::sigaction(SIGALRM, &action, &previous_), 0);
    const itimerval every{{0, 1000}, {0, 1000}};
    EXPECT_EQ(::setitimer(ITIMER_REAL, &every, nullptr), 0);
  }
  ~InterruptingSignals() {
    const itimerval stop{};
    ::setitimer(ITIMER_REAL, &stop, nullptr);
    ::sigaction(SIGALRM, &previous_, nullptr);
  }
  InterruptingSignals(const InterruptingSignals&) = delete;
  InterruptingSignals& operator=(const InterruptingSignals&) = delete;

 private:
  struct sigaction previous_ {};
};

}  // namespace qrl::testing
