#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ctl/request/Host.h"
#include "ctl/request/Verb.h"
#include "ctl/watch/ListDisplay.h"
#include "following/FollowedList.h"
#include "linux/loop/MainLoop.h"

namespace gatehall::ctl {

/// Shows gatehalld's list of users and every change of it, in watch's lines, until the process is
/// asked to end. On the main thread.
class ServiceWatch {
 public:
  ServiceWatch(const Host& host, const Request& request, HostOptions options);
  ServiceWatch(const ServiceWatch&) = delete;
  ServiceWatch& operator=(const ServiceWatch&) = delete;

  /// Raises PlatformException when no list can be had at first.
  void run();

 private:
  ListFollower follower();
  void begin(const ListedUsers& users);
  void gone(const std::string& why);
  void addNetwork();
  void print();

  const Host& mHost;
  ListDisplay mDisplay;
  const HostOptions mOptions;
  bool mHasBegun = false;
  std::string mFailure;  ///< why there is no list at first
  std::optional<ServiceNetwork> mNetwork;
  MainLoop mRunLoop;
  std::unique_ptr<FollowedList> mList;
};

}  // namespace gatehall::ctl
