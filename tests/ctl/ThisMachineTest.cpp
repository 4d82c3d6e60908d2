#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/ctl/RunWorld.h"

// Without a world file. What comes out is up to the machine; these hold on any.

namespace gatehall {
namespace {

using ctl::ExitStatus;
using Json = nlohmann::ordered_json;

TEST(ThisMachine, SwitchIsARehearsal) {
  const auto outcome = run({"--json", "switch", "-suspend"});
  EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  const auto document = documentOf(outcome);
  if (geteuid() == 0) {
    EXPECT_EQ(document, Json::parse(R"({
        "exitStatus": 0,
        "log": [ { "level": "error", "text": "User is root user." } ],
        "loginService": [ { "operation": "switchToLoginScreen" } ] })"));
  } else {
    EXPECT_EQ(document["log"].empty(), !document["loginService"].empty());
  }
}

TEST(ThisMachine, ItsPreferencesAndItsNetworkAreShown) {
  EXPECT_EQ(documentOf(run({"--json", "prefs"})).size(), 9U);
  EXPECT_EQ(documentOf(run({"--json", "network"})).size(), 5U);
}

TEST(ThisMachine, FindsNobodyWithTheReservedUserID) {
  const auto outcome = run({"--json", "user", "4294967294"});
  EXPECT_EQ(outcome.status, ExitStatus::No) << outcome.errors;
}

}  // namespace
}  // namespace gatehall
