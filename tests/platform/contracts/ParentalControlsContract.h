#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>

#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine with parental controls, at first without a limit.
class ParentalControlsHost {
 public:
  virtual ~ParentalControlsHost() = default;
  virtual Platform& platform() = 0;

  /// Gives the account a limit that lets it log in now, and answers until when.
  virtual Date allow(const Account& account) = 0;
  /// Gives the account a limit that keeps it from logging in now, and answers until when.
  virtual Date refuse(const Account& account) = 0;
  /// Takes the account's limit away.
  virtual void free(const Account& account) = 0;
};

class ParentalControlsContract : public testing::TestWithParam<Factory<ParentalControlsHost>> {
 protected:
  static constexpr std::int32_t kUntouched = 77;

  bool mayLogInNow(const Account& account) {
    mResult = kUntouched;
    return mHost->platform().parentalControls().mayLogInNow(account.userID, mResult, mNextCurfew);
  }

  const std::unique_ptr<ParentalControlsHost> mHost = GetParam()();
  std::int32_t mResult = kUntouched;
  std::optional<Date> mNextCurfew;
};

TEST_P(ParentalControlsContract, AllowWithoutADateWhereThereIsNoLimit) {
  EXPECT_TRUE(mayLogInNow(kAnn));
  EXPECT_EQ(mNextCurfew, std::nullopt);
}

TEST_P(ParentalControlsContract, AllowUntilALimitTakesEffect) {
  const auto end = mHost->allow(kBob);
  EXPECT_TRUE(mayLogInNow(kBob));
  EXPECT_EQ(mNextCurfew, end);
}

TEST_P(ParentalControlsContract, RefuseWithACodeUntilALimitEnds) {
  const auto start = mHost->refuse(kBob);
  EXPECT_FALSE(mayLogInNow(kBob));
  EXPECT_NE(mResult, kUntouched);
  EXPECT_NE(mResult, 0);
  EXPECT_EQ(mNextCurfew, start);
}

TEST_P(ParentalControlsContract, LimitEachAccountByItself) {
  mHost->refuse(kBob);
  const auto end = mHost->allow(kCarol);
  EXPECT_TRUE(mayLogInNow(kAnn));
  EXPECT_FALSE(mayLogInNow(kBob));
  EXPECT_TRUE(mayLogInNow(kCarol));
  EXPECT_EQ(mNextCurfew, end);
}

TEST_P(ParentalControlsContract, GoByTheLimitAsItIsNow) {
  mHost->refuse(kBob);
  EXPECT_FALSE(mayLogInNow(kBob));
  mHost->allow(kBob);
  EXPECT_TRUE(mayLogInNow(kBob));
  EXPECT_NE(mNextCurfew, std::nullopt);
  mHost->free(kBob);
  EXPECT_TRUE(mayLogInNow(kBob));
  EXPECT_EQ(mNextCurfew, std::nullopt) << "a date of an earlier answer is left";
}

}  // namespace gatehall::contracts
