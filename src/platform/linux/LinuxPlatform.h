#pragma once

#include <memory>
#include <string>
#include <thread>

#include "platform/Platform.h"
#include "platform/linux/HostOptions.h"
#include "platform/linux/LinuxDirectory.h"
#include "platform/linux/LinuxRunLoop.h"

namespace gatehall {

/// The Linux machine that the program runs on. A service is made when it is first asked for, and an
/// outside library is mapped when a service first needs it. Nothing is taken from the environment
/// but, by the C library, the zone of the local time (TZ).
class LinuxPlatform final : public Platform {
 public:
  /// Logs to the system log under the program's name.
  LinuxPlatform(HostOptions options, std::string identity);

  /// Logs elsewhere.
  LinuxPlatform(HostOptions options, std::shared_ptr<Log> log);

  ~LinuxPlatform() override;

  Process& process() override;
  LinuxDirectory& directory() override;
  SessionService& sessions() override;
  LoginService& loginService() override;
  MembershipService& membership() override;
  PreferenceStore& preferences() override;
  PropertyListReader& propertyLists() override;
  NotificationCenter& notificationCenter() override;
  NotificationCenter& distributedNotificationCenter() override;
  Clock& clock() override;
  Log& log() override;
  Collation& collation() override;
  TextSystem& text() override;
  Markup& markup() override;
  ParentalControls& parentalControls() override;
  SystemNotifications& systemNotifications() override;
  LinuxRunLoop& runLoop() override;
  void endThreads() override;

 private:
  struct Services;

  void listen(EventLoop& events);

  const std::thread::id mMainThread = std::this_thread::get_id();
  HostOptions mOptions;
  std::shared_ptr<Log> mLog;
  std::unique_ptr<Services> mServices;
};

}  // namespace gatehall
