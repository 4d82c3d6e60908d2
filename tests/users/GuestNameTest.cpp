#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/StringBundle.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

class GuestName : public Machine {
 protected:
  GuestName() { install(cast::machineOfAll()); }
};

TEST_F(GuestName, IsAbsentWithoutAStringBundle) {
  const auto gus = userNamed("gus");
  EXPECT_EQ(gus->longName(), std::nullopt);
  EXPECT_EQ(gus->shortName(), "gus");
}

TEST_F(GuestName, ComesFromTheStringBundle) {
  std::string asked;
  setStringBundle([&](std::string_view key, std::string_view otherwise, std::string_view table) {
    asked.append(key).append("|").append(otherwise).append("|").append(table);
    return std::optional<std::string>("Guest User");
  });
  EXPECT_EQ(userNamed("gus")->longName(), "Guest User");
  EXPECT_EQ(asked, "GUEST_ACCOUNT_NAME||Localizable");
  EXPECT_EQ(userNamed("ann")->longName(), "Ann Lee");
}

TEST_F(GuestName, IsWhateverTheBundleAnswers) {
  setStringBundle([](auto, auto otherwise, auto) { return std::optional<std::string>(otherwise); });
  EXPECT_EQ(userNamed("gus")->longName(), "");
  setStringBundle([](auto, auto, auto) { return std::optional<std::string>(); });
  EXPECT_EQ(userNamed("gus")->longName(), std::nullopt);
}

TEST_F(GuestName, IsAbsentAgainWhenTheBundleIsTakenAway) {
  setStringBundle([](auto, auto, auto) { return std::optional<std::string>("Guest User"); });
  setStringBundle(nullptr);
  EXPECT_EQ(userNamed("gus")->longName(), std::nullopt);
}

}  // namespace
}  // namespace gatehall
