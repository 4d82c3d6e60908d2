#include "linux/switch/Departure.h"

#include <utility>

#include "linux/files/FaultLog.h"

namespace gatehall {

void Departure::look() {
  if (std::exchange(mWasLookedAt, true)) return;
  try {
    mSession = mLogin1.front();
  } catch (const BusError& error) {
    mIsLocked = false;
    mWhy = error.what();
  }
}

bool Departure::isOf(const switchDecision::Target& target) {
  look();
  return mSession && mSession->isUsers && mSession->isOf(target.name, target.userID);
}

bool Departure::isLocked() {
  look();
  if (mIsLocked) return *mIsLocked;
  mIsLocked = !mSession || mSession->isGreeter || mSession->isLocked;
  if (*mIsLocked) return true;
  try {
    mIsOurLock = mLogin1.lock(*mSession, mLimit);
    mIsLocked = mIsOurLock;
    mWhy = "Nobody locks session " + printable(mSession->name) +
           ": no screen locker listens, or none that says so (LockedHint)";
  } catch (const BusError& error) {
    mWhy = error.what();
  }
  return *mIsLocked;
}

void Departure::undo() {
  if (!std::exchange(mIsOurLock, false)) return;
  mLogin1.unlock(*mSession);
}

}  // namespace gatehall
