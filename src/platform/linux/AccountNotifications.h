#pragma once

#include <cstdint>
#include <string_view>

#include "platform/DirectoryService.h"
#include "platform/Log.h"
#include "platform/linux/LinuxRunLoop.h"
#include "platform/portable/LocalNotificationCenter.h"

namespace gatehall {

/// Posts distributed notifications that name an account. From any thread.
class AccountNotifications {
 public:
  AccountNotifications(LinuxRunLoop& runLoop, DirectoryService& directory,
                       LocalNotificationCenter& distributed, Log& log)
      : mRunLoop(runLoop), mDirectory(directory), mDistributed(distributed), mLog(log) {}

  /// Posts the notification with an attribute of the account under the key, nothing when there is
  /// no such account. It is looked up beside the main thread: it may be in a network directory. The
  /// texts are constants.
  void post(std::uint32_t userID, std::string_view notification, std::string_view key,
            std::string_view kind);

 private:
  LinuxRunLoop& mRunLoop;
  DirectoryService& mDirectory;
  LocalNotificationCenter& mDistributed;
  Log& mLog;
};

}  // namespace gatehall
