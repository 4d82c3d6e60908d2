#pragma once

#include <functional>
#include <list>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "linux/bus/BusWatch.h"
#include "linux/events/AccountEvents.h"
#include "linux/events/SessionEvents.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/FolderWatch.h"
#include "linux/loop/LinuxSystemNotifications.h"
#include "linux/loop/MainLoop.h"
#include "portable/LocalNotificationCenter.h"

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
                MainLoop& runLoop, EventLoop& events, EventTargets targets);

 private:
  void listenToOthers();
  void listenToLocale();
  void watchFolders(const HostOptions& options, EventLoop& events, Log& log);
  void accountFileChanged(std::string_view name);
  void refresh();

  MainLoop& mRunLoop;
  EventTargets mTargets;
  BusWatch mBus;
  AccountEvents mAccounts;
  std::optional<SessionEvents> mSessions;  ///< of a machine that runs
  std::list<FolderWatch> mFolders;
};

}  // namespace gatehall
