#pragma once

#include <functional>
#include <list>
#include <string>
#include <string_view>

#include "platform/DirectoryService.h"
#include "platform/Log.h"
#include "platform/linux/AccountEvents.h"
#include "platform/linux/BusWatch.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/FolderWatch.h"
#include "platform/linux/HostOptions.h"
#include "platform/linux/LinuxRunLoop.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/linux/SessionEvents.h"
#include "platform/portable/LocalNotificationCenter.h"

namespace gatehall {

/// Where a machine's events go.
struct EventTargets {
  LocalNotificationCenter& inProcess;
  LocalNotificationCenter& distributed;
  LinuxSystemNotifications& system;
  std::function<void()> localeChanged;  ///< before the notification is posted
};

/// Posts what happens on the machine under the layer's names (NotificationNames.h), and what other
/// processes post, as signals Posted of the interface com.orvane.Notifications1: a name, a sender,
/// a dictionary. After an absence of the bus, of AccountsService or of logind, and when files that
/// hold settings or accounts change, the list of users is to be refreshed. On the main thread.
class MachineEvents {
 public:
  MachineEvents(const HostOptions& options, Log& log, DirectoryService& directory,
                LinuxRunLoop& runLoop, EventLoop& events, EventTargets targets);

 private:
  void listenToOthers();
  void listenToLocale();
  void watchFolders(const HostOptions& options, EventLoop& events, Log& log);
  void accountFileChanged(std::string_view name);
  void refresh();

  LinuxRunLoop& mRunLoop;
  EventTargets mTargets;
  BusWatch mBus;
  AccountEvents mAccounts;
  SessionEvents mSessions;
  std::list<FolderWatch> mFolders;
};

}  // namespace gatehall
