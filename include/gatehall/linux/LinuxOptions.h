#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "gatehall/base/Export.h"

namespace gatehall {

struct HostOptions;

/// Where a Linux host's files and services are found, and which are asked. The defaults are the
/// machine itself; nothing here is ever taken from the environment.
class GATEHALL_EXPORT LinuxOptions {
 public:
  LinuxOptions();
  LinuxOptions(const LinuxOptions& other);
  LinuxOptions& operator=(const LinuxOptions& other);
  ~LinuxOptions();

  /// Put in front of every absolute path that the host reads: "" or a directory without a slash at
  /// its end.
  void setRoot(std::string root);

  /// D-Bus address of the system bus; empty: the system's own.
  void setSystemBusAddress(std::string address);

  /// How long one call to another process may take; 3 seconds.
  void setCallTimeout(std::chrono::milliseconds timeout);

  /// Whether accounts tell of the limits that parental controls hold; true. A program that acts on
  /// none need not wait for the service that is asked for them.
  void setSessionLimits(bool areAsked);

  /// Whether the machine runs; true. Of one that doesn't, whose files are an image's or a backup's,
  /// there are no sessions, and no service is asked over the system bus.
  void setRunning(bool isRunning);

 private:
  friend class LinuxSwitchPlatform;

  std::unique_ptr<HostOptions> mValues;
};

}  // namespace gatehall
