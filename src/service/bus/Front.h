#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "gatehall/platform/Log.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/MainLoop.h"
#include "service/answers/Questions.h"
#include "service/bus/Limits.h"
#include "service/list/Published.h"

namespace gatehall::service {

/// The service as its clients see it: a connection to the system bus with the name, and the object
/// on it, on a thread of its own, which waits for nothing but events. It ends by itself when the
/// bus goes, when the name can't be had, and when nobody has asked for anything for a while: the
/// name is given up then, and what came before that is answered.
class Front {
 public:
  /// When it ends by itself it calls the function, on its thread. Raises PlatformException.
  Front(HostOptions options, const Limits& limits, Log& log, Questions::Answering answering,
        std::function<void()> ended);

  /// Ends it, when the answers are there that are worked on; when it ends by itself already, those
  /// are sent that came while it had its name.
  ~Front();
  Front(const Front&) = delete;
  Front& operator=(const Front&) = delete;

  /// Connects, without waiting for it. Raises PlatformException.
  void begin();

  /// Whether it ended, or is about to, for another reason than that nobody asked. On any thread.
  bool hasFailed() const { return mHasFailed; }

  /// Whoever tells the object, from any thread, while the front is there.
  Audience audience();

 private:
  class Connection;

  void run();

  const HostOptions mOptions;
  const Limits mLimits;
  Log& mLog;
  const std::function<void()> mEnded;
  std::atomic<bool> mHasFailed = false;
  std::atomic<bool> mIsLeaving = false;  ///< it gives up its name
  MainLoop mLoop;
  Questions mQuestions;                     ///< tells the loop
  std::unique_ptr<Connection> mConnection;  ///< on the front's thread, while the loop runs
};

}  // namespace gatehall::service
