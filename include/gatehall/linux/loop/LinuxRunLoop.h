#pragma once

#include "gatehall/base/Export.h"
#include "gatehall/platform/RunLoop.h"

namespace gatehall {

/// The main run loop of a program on Linux. Every thread's delayed tasks run on it.
///
/// A program either lets it run (runUntilInterrupted), or drives it from a loop of its own: it
/// waits until the descriptor is readable, with poll(2) or as a source of that loop, and then calls
/// dispatch. The first of these calls begins to listen to the machine; before it nothing is mapped,
/// connected to or started.
///
/// What follows is for the program, on the main thread. Each raises PlatformException where
/// libsystemd is missing.
class GATEHALL_EXPORT LinuxRunLoop : public RunLoop {
 public:
  /// Readable when dispatch has something to do. Good as long as the loop.
  virtual int descriptor() = 0;

  /// Does what there is to do, without waiting. With Common as in a modal panel: sources of the
  /// default mode keep what they have, and the descriptor does not tell of it, so that the program
  /// dispatches once when the panel is closed. May be called from a task.
  virtual void dispatch(RunLoopMode mode = RunLoopMode::Default) = 0;

  /// Runs until the process is asked to end (SIGINT, SIGTERM), or stop is called.
  virtual void runUntilInterrupted() = 0;

  /// Lets runUntilInterrupted return, the next one if none runs. From any thread.
  virtual void stop() = 0;
};

}  // namespace gatehall
