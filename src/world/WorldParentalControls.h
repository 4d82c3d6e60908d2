#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

#include "gatehall/platform/ParentalControls.h"

namespace gatehall {

/// What parental controls say about one account.
struct LoginLimit {
  bool allowed = true;
  std::int32_t result = 0;  ///< goes with a refusal
  std::optional<Date> nextCurfew;
};

/// The parental controls of a world; at first every account is allowed. From any thread.
class WorldParentalControls final : public ParentalControls {
 public:
  bool mayLogInNow(std::uint32_t userID, std::int32_t& result,
                   std::optional<Date>& nextCurfew) override;

  void setLimit(std::uint32_t userID, LoginLimit limit);
  void removeLimit(std::uint32_t userID);
  /// By user id.
  std::map<std::uint32_t, LoginLimit> limits();

 private:
  std::mutex mMutex;
  std::map<std::uint32_t, LoginLimit> mLimits;
};

}  // namespace gatehall
