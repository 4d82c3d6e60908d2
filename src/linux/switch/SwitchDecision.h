#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gatehall/base/Value.h"

/// Which call performs a switch, for each display manager.
namespace gatehall::switchDecision {

enum class DisplayManager {
  None,       ///< none on the bus
  LightDM,    ///< org.freedesktop.DisplayManager, with a SwitchToUser that authenticates
  OtherSeat,  ///< org.freedesktop.DisplayManager, of which only SwitchToGreeter does something:
              ///< SDDM
  GDM,        ///< org.gnome.DisplayManager
};

enum class Step {
  SwitchToUser,
  SwitchToGuest,
  SwitchToGreeter,
  CreateTransientDisplay,
  Impossible
};

/// The user to switch to, read from the attributes that a login service is given.
struct Target {
  std::string name;
  std::optional<std::uint32_t> userID;
  std::string node{};  ///< that the account is of; empty: not known
  bool isGuest = false;
  bool hasEmptyPassword = false;
};

Target target(const Dictionary& attributes);

/// True when a running session of the user may be brought to the front as it is. Nobody is asked
/// for a password then, so the account must have none.
bool mayActivate(const Target& target);

/// Whether the display manager's step brings up a desktop without asking anybody for a password.
bool opensUnasked(Step step, const Target& target);

/// Whether the display manager makes another login screen each time that it is asked for one, so
/// that one that runs is better brought to the front by logind.
bool makesAnotherGreeter(DisplayManager displayManager);

/// How the display manager brings up its login screen.
Step loginScreen(DisplayManager displayManager);

/// How the display manager switches to the user: by a way of its own that authenticates, else by
/// its login screen.
Step userSwitch(DisplayManager displayManager, const Target& target);

}  // namespace gatehall::switchDecision
