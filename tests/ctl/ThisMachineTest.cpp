#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/ctl/RunWorld.h"

// Without a world file. What comes out is up to the machine; these hold on any.

namespace gatehall {
namespace {

using ctl::ExitStatus;
using Json = nlohmann::ordered_json;

TEST(ThisMachine, SwitchIsARehearsal) {
  const auto outcome = ctl::runCommandLine({"--json", "switch", "-suspend"}, false);
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
  EXPECT_EQ(documentOf(ctl::runCommandLine({"--json", "prefs"}, false)).size(), 9U);
  EXPECT_EQ(documentOf(ctl::runCommandLine({"--json", "network"}, false)).size(), 5U);
}

TEST(ThisMachine, FindsNobodyWithTheReservedUserID) {
  const auto outcome = ctl::runCommandLine({"--json", "user", "4294967294"}, false);
  EXPECT_EQ(outcome.status, ExitStatus::No) << outcome.errors;
}

}  // namespace
}  // namespace gatehall
