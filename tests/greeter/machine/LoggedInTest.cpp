#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "greeter/machine/LoggedIn.h"
#include "linux/loop/MainLoop.h"
#include "tests/Patience.h"
#include "tests/greeter/bus/AnsweringService.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall::greeter {
namespace {

using Users = std::optional<LoggedIn::UserIDs>;

class LoggedInTest : public testing::Test {
 protected:
  struct Session {
    std::uint32_t uid;
    const char* kind = "user";
    const char* state = "online";
  };

  void serve() {
    mLogind = std::make_unique<AnsweringService>(mBus.address(), "org.freedesktop.login1");
    mLogind->answers["ListSessions"] = [this](sd_bus_message* call) { return list(call); };
    mLogind->answers["GetAll"] = [this](sd_bus_message* call) { return tell(call); };
  }

  int list(sd_bus_message* call) const {
    sd_bus_message* answer = nullptr;
    sd_bus_message_new_method_return(call, &answer);
    sd_bus_message_open_container(answer, 'a', "(susso)");
    for (std::size_t index = 0; index < mSessions.size(); ++index) {
      const auto path = pathOf(index);
      sd_bus_message_append(answer, "(susso)", "c", mSessions[index].uid, "name", "", path.c_str());
    }
    sd_bus_message_close_container(answer);
    const int result = sd_bus_send(nullptr, answer, nullptr);
    sd_bus_message_unref(answer);
    return result;
  }

  int tell(sd_bus_message* call) const {
    const std::string path = sd_bus_message_get_path(call);
    for (std::size_t index = 0; index < mSessions.size(); ++index) {
      if (pathOf(index) != path) continue;
      const auto& session = mSessions[index];
      return sd_bus_reply_method_return(call, "a{sv}", 3, "Class", "s", session.kind, "State", "s",
                                        session.state, "User", "(uo)", session.uid, "/user");
    }
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_OBJECT, "It is no more");
  }

  static std::string pathOf(std::size_t index) { return "/session/" + std::to_string(index); }

  bool until(const std::function<bool()>& condition) {
    return driveUntil(mLoop, [&] {
      if (mLogind) mLogind->serve();
      return condition();
    });
  }
  bool knows(const Users& users) {
    return until([&] { return mLoggedIn && mLoggedIn->users() == users; });
  }

  PrivateBus mBus;
  std::vector<Session> mSessions;
  std::unique_ptr<AnsweringService> mLogind;
  KeptLog mLog;
  int mChanges = 0;
  std::unique_ptr<LoggedIn> mLoggedIn;
  MainLoop mLoop{
      std::this_thread::get_id(), [this](EventLoop& events) {
        mLoggedIn = std::make_unique<LoggedIn>(
            mLoop, events,
            HostOptions{.root = "", .systemBusAddress = mBus.address(), .callTimeout = kPatience},
            mLog, [this] { ++mChanges; });
      }};
};

TEST_F(LoggedInTest, IsWhoeverHasASessionThatIsNotClosing) {
  mSessions = {{1000},
               {117, "greeter"},
               {1001, "user", "closing"},
               {1002, "user", "opening"},
               {1003, "background"},
               {1000, "user", "active"}};
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000, 1002}));
  EXPECT_EQ(mChanges, 1);
}

TEST_F(LoggedInTest, IsNobodyWithoutSessions) {
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{}));
  EXPECT_EQ(mChanges, 1);
}

TEST_F(LoggedInTest, IsWhoeverComesLater) {
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{}));
  mSessions = {{1000}};
  mLogind->emit("/org/freedesktop/login1", "org.freedesktop.login1.Manager", "SessionNew");
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
  mSessions.clear();
  mLogind->emit("/org/freedesktop/login1", "org.freedesktop.login1.Manager", "SessionRemoved");
  ASSERT_TRUE(knows(LoggedIn::UserIDs{}));
}

TEST_F(LoggedInTest, IsAskedAboutAnew) {
  mSessions = {{1000}};
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
  mSessions = {{1000, "user", "closing"}};
  mLoggedIn->ask();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{}));
}

TEST_F(LoggedInTest, PassesOverWhatEndsMeanwhile) {
  mSessions = {{1000}, {1001}};
  serve();
  mLogind->answers["ListSessions"] = [this](sd_bus_message* call) {
    const int result = list(call);
    mSessions.pop_back();
    return result;
  };
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
}

TEST_F(LoggedInTest, IsNotKnownWithoutLogind) {
  ASSERT_TRUE(until([this] { return mLoggedIn != nullptr; }));
  mSessions = {{1000}};
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
  mLogind.reset();
  ASSERT_TRUE(knows(std::nullopt));
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
  mBus.end();
  ASSERT_TRUE(knows(std::nullopt));
}

TEST_F(LoggedInTest, IsNotKnownFromAnAnswerOfAnotherType) {
  mSessions = {{1000}};
  serve();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
  mLogind->answers["GetAll"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "a{sv}", 1, "Class", "s", "user");
  };
  mLoggedIn->ask();
  ASSERT_TRUE(knows(std::nullopt));
  mLogind->answers["GetAll"] = [this](sd_bus_message* call) { return tell(call); };
  mLoggedIn->ask();
  ASSERT_TRUE(knows(LoggedIn::UserIDs{1000}));
  mLogind->answers["ListSessions"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "as", 1, "c1");
  };
  mLoggedIn->ask();
  ASSERT_TRUE(knows(std::nullopt));
}

}  // namespace
}  // namespace gatehall::greeter
