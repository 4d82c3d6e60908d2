#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "instrumented/RecordingLog.h"
#include "instrumented/RecordingLoginService.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

TEST(RecordingLog, KeepsMessagesInOrderWithTheirLevels) {
  RecordingLog log;
  log.error("%s is not interpreted");
  log.diagnostic("");
  EXPECT_THAT(log.entries(),
              ElementsAre(RecordingLog::Entry{RecordingLog::Level::Error, "%s is not interpreted"},
                          RecordingLog::Entry{RecordingLog::Level::Diagnostic, ""}));
}

TEST(RecordingLog, KeepsEveryMessageOfTwoThreads) {
  RecordingLog log;
  const auto write = [&] {
    for (int i = 0; i < 200; ++i) log.diagnostic("message");
  };
  {
    const std::jthread other(write);
    write();
  }
  EXPECT_EQ(log.entries().size(), 400U);
}

TEST(RecordingLoginService, AcceptsAndKeepsRequestsInOrder) {
  RecordingLoginService service;
  const Dictionary attributes{{"RecordName", Strings{"bob"}}, {"UserPasswordKey", ""}};
  EXPECT_EQ(service.switchToUser(attributes), 0);
  EXPECT_EQ(service.switchToLoginScreen(), 0);
  EXPECT_THAT(service.requests(),
              ElementsAre(RecordingLoginService::Request{"switchToUser", attributes},
                          RecordingLoginService::Request{"switchToLoginScreen", {}}));
}

TEST(RecordingLoginService, KeepsNoPassword) {
  RecordingLoginService service;
  service.switchToUser({{"UserPasswordKey", "sesame"}});
  service.switchToUser({{"UserPasswordKey", Strings{"sesame"}}});
  const RecordingLoginService::Request kept{"switchToUser",
                                            {{"UserPasswordKey", "(not recorded)"}}};
  EXPECT_THAT(service.requests(), ElementsAre(kept, kept));
}

}  // namespace
}  // namespace gatehall
