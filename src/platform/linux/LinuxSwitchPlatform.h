#pragma once

#include <memory>
#include <string>

#include "platform/Platform.h"
#include "platform/linux/HostOptions.h"
#include "platform/linux/LinuxDirectory.h"
#include "platform/portable/LocalNotificationCenter.h"

namespace gatehall {

/// What it takes of the Linux machine that the program runs on to decide about a switch and to
/// perform it. Nothing here listens to the machine, draws or knows of login hours; a program that
/// shows the users takes LinuxPlatform.
///
/// A service is made when it is first asked for, and an outside library is mapped when a service
/// first needs it. Nothing is taken from the environment but, by the C library, the zone of the
/// local time (TZ).
class LinuxSwitchPlatform : public Platform {
 public:
  /// Logs to the system log under the program's name.
  LinuxSwitchPlatform(HostOptions options, std::string identity);

  /// Logs elsewhere.
  LinuxSwitchPlatform(HostOptions options, std::shared_ptr<Log> log);

  ~LinuxSwitchPlatform() override;

  Process& process() override;
  LinuxDirectory& directory() override;
  SessionService& sessions() override;
  LoginService& loginService() override;
  MembershipService& membership() override;
  PreferenceStore& preferences() override;
  PropertyListReader& propertyLists() override;
  LocalNotificationCenter& notificationCenter() override;
  LocalNotificationCenter& distributedNotificationCenter() override;
  Clock& clock() override;
  Log& log() override;
  Collation& collation() override;

 protected:
  const HostOptions& options() const { return mOptions; }

  void localeChanged();

 private:
  struct Services;

  const HostOptions mOptions;
  const std::shared_ptr<Log> mLog;
  const std::unique_ptr<Services> mServices;
};

}  // namespace gatehall
