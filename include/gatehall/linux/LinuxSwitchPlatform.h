#pragma once

#include <memory>
#include <string>

#include "gatehall/base/Export.h"
#include "gatehall/linux/LinuxOptions.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

/// What it takes of the Linux machine that the program runs on to decide about a switch and to
/// perform it. Nothing here listens to the machine, draws or knows of login hours; a program that
/// shows the users takes LinuxPlatform.
///
/// A service is made when it is first asked for, and an outside library is mapped when a service
/// first needs it. Nothing is taken from the environment but, by the C library, the zone of the
/// local time (TZ).
class GATEHALL_EXPORT LinuxSwitchPlatform : public Platform {
 public:
  /// Logs to the system log under the program's name, decisions among it.
  LinuxSwitchPlatform(const LinuxOptions& options, std::string identity);

  /// Logs elsewhere, and keeps no decisions.
  LinuxSwitchPlatform(const LinuxOptions& options, std::shared_ptr<Log> log);

  ~LinuxSwitchPlatform() override;

  Process& process() override;
  DirectoryService& directory() override;
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
  DecisionLog* decisionLog() override;

 private:
  friend class LinuxPlatform;
  struct Services;

  const std::unique_ptr<Services> mServices;
};

}  // namespace gatehall
