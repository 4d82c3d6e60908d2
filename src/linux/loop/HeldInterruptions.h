#pragma once

#include <signal.h>

namespace gatehall {

/// While it is there, SIGINT and SIGTERM wait for a run loop that ends for them in good order
/// (LinuxRunLoop::runUntilInterrupted): before it runs, and on all threads that are started
/// meanwhile, to any of which they would be delivered otherwise (signal(7)).
class HeldInterruptions {
 public:
  HeldInterruptions() {
    sigset_t interruptions;
    sigemptyset(&interruptions);
    sigaddset(&interruptions, SIGINT);
    sigaddset(&interruptions, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &interruptions, &mBefore);
  }
  ~HeldInterruptions() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
  HeldInterruptions(const HeldInterruptions&) = delete;
  HeldInterruptions& operator=(const HeldInterruptions&) = delete;

 private:
  sigset_t mBefore{};
};

}  // namespace gatehall
