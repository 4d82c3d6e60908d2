#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace gatehall {

/// Where a Linux host's files and services are found, and which are asked. The defaults are the
/// machine itself; tests point a host at a directory and a bus of their own. Nothing here is ever
/// taken from the environment.
struct HostOptions {
  /// Put in front of every absolute path that the host reads: "" or a directory without a slash at
  /// its end.
  std::string root;

  /// D-Bus address of the system bus; empty: the system's own.
  std::string systemBusAddress;

  /// How long one call to another process may take.
  std::chrono::milliseconds callTimeout{3000};

  /// Whether accounts tell of the limits that parental controls hold. A program that acts on none
  /// need not wait for the service that is asked for them.
  bool sessionLimits = true;

  /// Whether the machine runs. Of one that doesn't there are files only: it has no sessions, and
  /// nobody is asked over its bus.
  bool isRunning = true;

  /// The program that asks the C library's name service (nss::askNameService); empty: the one that
  /// is installed for it.
  std::string nameService{};

  /// What policy files (readPolicyFile) are taken to hold instead of what they do, by their paths
  /// from the root; without a content, that there is none. For who tries a policy first.
  std::map<std::string, std::optional<std::string>, std::less<>> rehearsed{};
};

}  // namespace gatehall
