#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"
#include "linux/pam/Passage.h"
#include "linux/pam/Stack.h"
#include "pam/door/Arguments.h"

namespace gatehall::ctl {

/// The PAM module that guards doors.
inline constexpr std::string_view kGuardModule = "pam_gatehall.so";

/// A line of a service's account stack that names the guard.
struct GuardLine {
  pam::Place place;
  Strings words;  ///< its arguments
};

/// The line's arguments, with texts that point into it.
pam::Arguments argumentsOf(const GuardLine& line);

/// A service of pam.d(5) that opens sessions, and who guards it.
struct DoorState {
  std::string service;
  pam::Stack stack{};
  pam::Passage passage{};
  std::vector<GuardLine> guards{};  ///< the lines whose arguments are for this service
  std::vector<GuardLine> idle{};    ///< those that leave it out
  std::string unreadable{};         ///< why it can't be told; empty: it can
};

/// Looks at PAM's configuration of the service. Raises nothing of the host's.
DoorState doorState(const HostOptions& options, const std::string& service);

/// The same of a door where the guard stands without arguments, as its package puts it.
DoorState guardedDoor(const std::string& service);

/// The machine's doors, by name: the services that the module guards by default, as far as they
/// have a file, and those that a line of the module in any service's stack names. Raises
/// PlatformException when it can't be told which services there are.
std::vector<DoorState> doorsOfMachine(const HostOptions& options);

/// The services that lines of those doors name and that have no file, each once, with the line.
std::vector<std::pair<std::string, pam::Place>> servicesWithoutFile(
    const HostOptions& options, const std::vector<DoorState>& doors);

/// Whether it is guarded: "yes", "no", "not for everybody", "shut", "can't be told".
std::string_view guardInWords(const DoorState& door);

}  // namespace gatehall::ctl
