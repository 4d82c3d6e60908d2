#pragma once

#include <sys/types.h>

/// The group that a set-group-id program (setresgid(2)) has beyond its caller's. It is put aside
/// when the program starts and taken up only where a file is opened that needs it. A program that
/// never calls putAside, and one without such a group, is left as it is. From one thread.
namespace gatehall::extraGroup {

/// The effective group becomes the caller's; the extra one can still be taken up. Ends the process
/// when that fails.
void putAside();

/// Gives the extra group up for good. Ends the process when that fails.
void giveUp();

/// While it lives, the extra group is the effective one, unless it was given up.
class TakenUp {
 public:
  TakenUp();
  ~TakenUp();
  TakenUp(const TakenUp&) = delete;
  TakenUp& operator=(const TakenUp&) = delete;

 private:
  bool mTakenUp;
};

}  // namespace gatehall::extraGroup
