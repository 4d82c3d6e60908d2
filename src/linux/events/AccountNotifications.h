#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "linux/loop/MainLoop.h"
#include "portable/LocalNotificationCenter.h"

namespace gatehall {

/// Posts distributed notifications that name an account. From any thread.
class AccountNotifications {
 public:
  AccountNotifications(MainLoop& runLoop, DirectoryService& directory,
                       LocalNotificationCenter& distributed, Log& log)
      : mRunLoop(runLoop), mDirectory(directory), mDistributed(distributed), mLog(log) {}

  /// Posts the notification with an attribute of the account under the key, nothing when there is
  /// no such account. Accounts are looked up one after the other beside the main thread: they may
  /// be in a network directory. The texts are constants.
  void post(std::uint32_t userID, std::string_view notification, std::string_view key,
            std::string_view kind);

 private:
  struct Question {
    std::uint32_t userID = 0;
    std::string_view notification;
    std::string_view key;
    std::string_view kind;
  };
  /// What waits for the one thread that looks up.
  struct Waiting {
    std::mutex mutex;
    std::deque<Question> questions;
    bool isAnswered = false;  ///< by a thread that runs
  };

  void answerAll();
  void answer(const Question& question);

  MainLoop& mRunLoop;
  DirectoryService& mDirectory;
  LocalNotificationCenter& mDistributed;
  Log& mLog;
  std::shared_ptr<Waiting> mWaiting = std::make_shared<Waiting>();
};

}  // namespace gatehall
