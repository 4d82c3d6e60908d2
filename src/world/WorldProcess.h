#pragma once

#include <atomic>

#include "gatehall/platform/Process.h"

namespace gatehall {

/// Who runs the program in a world: root, unless told otherwise. From any thread.
class WorldProcess final : public Process {
 public:
  std::uint32_t effectiveUserID() override { return mEffectiveUserID; }
  void giveUpRights() override { mGaveUpRights = true; }

  bool gaveUpRights() const { return mGaveUpRights; }
  void setEffectiveUserID(std::uint32_t userID) { mEffectiveUserID = userID; }

 private:
  std::atomic<std::uint32_t> mEffectiveUserID{0};
  std::atomic<bool> mGaveUpRights{false};
};

}  // namespace gatehall
