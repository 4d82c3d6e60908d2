#include <gtest/gtest.h>
#include <set>
#include <string>

#include "gatehall/access/LoginDecision.h"

namespace gatehall {
namespace {

constexpr LoginRule kRules[] = {
    LoginRule::NoServiceAccess,    LoginRule::Administrator,  LoginRule::LocalLoginEnabled,
    LoginRule::LocalLoginDisabled, LoginRule::NetworkAway,    LoginRule::EveryoneDenied,
    LoginRule::DeniedByGUID,       LoginRule::NoAllowList,    LoginRule::EveryoneAllowed,
    LoginRule::AllowedByGUID,      LoginRule::NotInAllowList,
};

TEST(LoginDecision, AdmitsByTheRulesThatSaySo) {
  const std::set<LoginRule> admitting = {LoginRule::Administrator, LoginRule::LocalLoginEnabled,
                                         LoginRule::NoAllowList, LoginRule::EveryoneAllowed,
                                         LoginRule::AllowedByGUID};
  for (const auto rule : kRules) {
    EXPECT_EQ(admits(rule), admitting.contains(rule)) << description(rule);
    EXPECT_EQ((LoginDecision{rule, {}}).allowed(), admits(rule)) << description(rule);
  }
}

TEST(LoginDecision, DescribesEveryRuleInWordsOfItsOwn) {
  std::set<std::string> words;
  for (const auto rule : kRules) words.insert(description(rule));
  EXPECT_EQ(words.size(), std::size(kRules));
  EXPECT_STREQ(description(LoginRule::DeniedByGUID), "denied by GUID");
}

}  // namespace
}  // namespace gatehall
