#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "linux/switch/Login1.h"
#include "linux/switch/SwitchDecision.h"

namespace gatehall {

/// The session in front, which a switch leaves. Nothing is asked about it before it is needed.
class Departure {
 public:
  /// A lock has to be seen within the limit.
  Departure(Login1& login1, std::chrono::milliseconds limit) : mLogin1(login1), mLimit(limit) {}

  /// Whether it is the user's own.
  bool isOf(const switchDecision::Target& target);

  /// Whether it says that it is locked, which it is asked to be at first. A login screen, and a
  /// seat without a session, need no lock.
  bool isLocked();

  /// Why it isn't, for the log.
  const std::string& why() const { return mWhy; }

  /// Takes the lock away that isLocked() brought; none that was there before. Raises BusError.
  void undo();

 private:
  void look();

  Login1& mLogin1;
  std::chrono::milliseconds mLimit;
  bool mWasLookedAt = false;
  std::optional<Login1::Session> mSession;
  std::optional<bool> mIsLocked;
  bool mIsOurLock = false;
  std::string mWhy;
};

}  // namespace gatehall
