#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine whose session service answers, at first without any session.
class SessionHost {
 public:
  virtual ~SessionHost() = default;
  virtual Platform& platform() = 0;

  /// Opens a graphical session of the account: the console's, or one in the background.
  virtual void open(const Account& account, bool ownsConsole) = 0;
  /// Ends every session of the account.
  virtual void close(const Account& account) = 0;
};

class SessionContract : public testing::TestWithParam<Factory<SessionHost>> {
 protected:
  SessionService& sessions() { return mHost->platform().sessions(); }

  /// The session records by user name.
  std::map<std::string, Dictionary> listed() {
    std::map<std::string, Dictionary> byName;
    const auto list = sessions().copySessionList().value();
    for (const auto& entry : list) {
      if (entry) byName.emplace(*entry->at("kVXSSessionUserNameKey").string(), *entry);
    }
    return byName;
  }

  const std::unique_ptr<SessionHost> mHost = GetParam()();
};

TEST_P(SessionContract, HasAnEmptyListAndNoConsoleOwnerWithoutSessions) {
  EXPECT_FALSE(sessions().copyCurrentSession());
  const auto list = sessions().copySessionList();
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->empty());
}

TEST_P(SessionContract, DescribesTheSessionThatOwnsTheConsole) {
  mHost->open(kAnn, true);
  const auto current = sessions().copyCurrentSession();
  ASSERT_TRUE(current);
  EXPECT_EQ(current->at(std::string(session::UserIDKey)), 1000);
  EXPECT_EQ(current->at(std::string(session::UserNameKey)), "ann");
  EXPECT_EQ(current->at(std::string(session::LoginDoneKey)), true);
  EXPECT_TRUE(current->at(std::string(session::IDKey)).isNumber());
}

TEST_P(SessionContract, ListsEverySessionUnderAnIdentifierOfItsOwn) {
  mHost->open(kAnn, true);
  mHost->open(kBob, false);
  const auto list = listed();
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list.at("ann"), sessions().copyCurrentSession());
  EXPECT_EQ(list.at("bob").at("kVXSSessionUserIDKey"), 1001);
  EXPECT_EQ(list.at("bob").at("kVXSessionLoginDoneKey"), true);
  EXPECT_NE(list.at("bob").at("kVXSSessionIDKey"), list.at("ann").at("kVXSSessionIDKey"));
}

TEST_P(SessionContract, ForgetsASessionThatEnded) {
  mHost->open(kAnn, true);
  mHost->open(kBob, false);
  mHost->close(kAnn);
  EXPECT_FALSE(sessions().copyCurrentSession());
  const auto list = listed();
  EXPECT_EQ(list.size(), 1U);
  EXPECT_TRUE(list.contains("bob"));
}

}  // namespace gatehall::contracts
