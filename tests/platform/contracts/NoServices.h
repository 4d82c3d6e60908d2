#pragma once

#include "gatehall/platform/Platform.h"

namespace gatehall::contracts {

/// A host without services: what a suite is about, its host puts in their places.
class NoServices : public Platform {
 public:
  Process& process() override { absent(); }
  DirectoryService& directory() override { absent(); }
  SessionService& sessions() override { absent(); }
  LoginService& loginService() override { absent(); }
  MembershipService& membership() override { absent(); }
  PreferenceStore& preferences() override { absent(); }
  PropertyListReader& propertyLists() override { absent(); }
  NotificationCenter& notificationCenter() override { absent(); }
  NotificationCenter& distributedNotificationCenter() override { absent(); }
  Clock& clock() override { absent(); }
  Log& log() override { absent(); }
  Collation& collation() override { absent(); }

 private:
  [[noreturn]] static void absent() { throw PlatformException("not part of this host"); }
};

}  // namespace gatehall::contracts
