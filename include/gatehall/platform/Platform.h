#pragma once

#include <memory>

#include "gatehall/base/Export.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/Clock.h"
#include "gatehall/platform/Collation.h"
#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "gatehall/platform/LoginService.h"
#include "gatehall/platform/Markup.h"
#include "gatehall/platform/MembershipService.h"
#include "gatehall/platform/NotificationCenter.h"
#include "gatehall/platform/ParentalControls.h"
#include "gatehall/platform/PreferenceStore.h"
#include "gatehall/platform/Process.h"
#include "gatehall/platform/RunLoop.h"
#include "gatehall/platform/SessionService.h"
#include "gatehall/platform/TextSystem.h"

namespace gatehall {

/// The host: every service that the layer needs, each described in its own header. A porter
/// implements this class; the program that uses the layer installs one and then calls the layer.
///
/// The references are good as long as the platform. A service may be made when it is first asked
/// for, so that a program which never asks never pays. From any thread, unless the service's
/// own header narrows it.
class GATEHALL_EXPORT Platform {
 public:
  virtual ~Platform() = default;

  virtual Process& process() = 0;
  virtual DirectoryService& directory() = 0;
  virtual SessionService& sessions() = 0;
  virtual LoginService& loginService() = 0;
  virtual MembershipService& membership() = 0;
  virtual PreferenceStore& preferences() = 0;
  virtual PropertyListReader& propertyLists() = 0;
  virtual NotificationCenter& notificationCenter() = 0;
  virtual NotificationCenter& distributedNotificationCenter() = 0;
  virtual Clock& clock() = 0;
  virtual Log& log() = 0;
  virtual Collation& collation() = 0;

  // Services that a host may lack; asking for one that it lacks raises PlatformException.
  virtual ParentalControls& parentalControls();
  virtual SystemNotifications& systemNotifications();
  virtual RunLoop& runLoop();
  virtual TextSystem& text();
  virtual Markup& markup();

  /// nullptr for a host that keeps no decisions.
  virtual DecisionLog* decisionLog() { return nullptr; }

  /// Ends the threads that the run loop started: those that wait, for time to pass or for the main
  /// thread, end where they wait; the others are waited for. From the main thread.
  virtual void endThreads() {}

  /// Chooses the host of this process (nullptr: none). Ends the threads of the host before it and
  /// drops what belongs to that, the layer's shared instances and process-wide caches. No thread
  /// but those may use the layer meanwhile. From the main thread; a program that shows the list of
  /// users calls it with nullptr before it ends, so that no thread is left in the middle of a
  /// rebuild.
  static void install(std::shared_ptr<Platform> platform);

  /// Whether this process has a host.
  static bool isInstalled();
};

/// The installed host. Calling it without one is a programming error and ends the process.
GATEHALL_EXPORT Platform& platform();

}  // namespace gatehall
