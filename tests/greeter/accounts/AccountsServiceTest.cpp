#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "greeter/accounts/AccountsService.h"
#include "linux/loop/MainLoop.h"
#include "tests/Patience.h"
#include "tests/greeter/bus/AnsweringService.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;

constexpr const char* kCarolsPath = "/org/freedesktop/Accounts/User1002";

class AccountsServiceTest : public testing::Test {
 protected:
  using Properties = std::vector<std::pair<std::string, std::string>>;

  void serve() {
    mService = std::make_unique<AnsweringService>(mBus.address(), "org.freedesktop.Accounts");
    mService->answers["FindUserByName"] = [this](sd_bus_message* call) {
      const char* name = nullptr;
      if (sd_bus_message_read(call, "s", &name) < 0 || std::string(name) != "carol") {
        return sd_bus_reply_method_errorf(call, "org.freedesktop.Accounts.Error.Failed", "nobody");
      }
      return sd_bus_reply_method_return(call, "o", mPath.c_str());
    };
    mService->answers["GetAll"] = [this](sd_bus_message* call) {
      if (std::string(sd_bus_message_get_path(call)) != mPath) return -EINVAL;
      sd_bus_message* reply = nullptr;
      int result = sd_bus_message_new_method_return(call, &reply);
      if (result >= 0) result = sd_bus_message_open_container(reply, 'a', "{sv}");
      for (const auto& [name, value] : mProperties) {
        if (result >= 0) {
          result = sd_bus_message_append(reply, "{sv}", name.c_str(), "s", value.c_str());
        }
      }
      // As the real service has it, among others.
      if (result >= 0) {
        result = sd_bus_message_append(reply, "{sv}", "LoginHistory", "a(xxa{sv})", 1, 1LL, 2LL, 1,
                                       "type", "s", ":0");
      }
      if (result >= 0) result = sd_bus_message_append(reply, "{sv}", "Locked", "b", 0);
      if (result >= 0) result = sd_bus_message_close_container(reply);
      if (result >= 0) result = sd_bus_send(nullptr, reply, nullptr);
      sd_bus_message_unref(reply);
      return result;
    };
  }

  /// What is told of the account; absent when nothing is.
  std::optional<AccountPreferences> preferencesOf(const std::string& name) {
    driveUntil(mLoop, [this] { return mAccounts != nullptr; });
    std::optional<AccountPreferences> told;
    mAccounts->ask(name, [&](const AccountPreferences& preferences) { told = preferences; });
    EXPECT_EQ(told, std::nullopt);
    driveUntil(mLoop, [&] {
      if (mService) mService->serve();
      return told.has_value();
    });
    return told;
  }
  AccountPreferences withProperties(const Properties& properties) {
    if (!mService) serve();
    mProperties = properties;
    return preferencesOf("carol").value_or(AccountPreferences{.session = "none was told"});
  }

  PrivateBus mBus;
  std::unique_ptr<AnsweringService> mService;
  std::string mPath = kCarolsPath;
  Properties mProperties;
  HostOptions mOptions{.root = "", .systemBusAddress = mBus.address(), .callTimeout = kPatience};
  KeptLog mLog;
  std::unique_ptr<AccountsService> mAccounts;
  MainLoop mLoop{std::this_thread::get_id(), [this](EventLoop& events) {
                   mAccounts = std::make_unique<AccountsService>(mLoop, events, mOptions, mLog);
                 }};
};

TEST_F(AccountsServiceTest, TellsWhatIsKept) {
  EXPECT_EQ(withProperties({{"XSession", "sway"},
                            {"Session", "gnome"},
                            {"Language", "de_AT.UTF-8"},
                            {"PasswordHint", "die Katze"}}),
            (AccountPreferences{"sway", "de_AT.UTF-8", "die Katze"}));
  EXPECT_THAT(mService->calls, ElementsAre("FindUserByName", "GetAll"));
}

TEST_F(AccountsServiceTest, TakesTheOtherSessionWhereLightDMKeptNone) {
  EXPECT_EQ(withProperties({{"XSession", ""}, {"Session", "gnome"}}).session, "gnome");
}

TEST_F(AccountsServiceTest, TellsNothingOfAnAccountThatNothingIsKeptOf) {
  EXPECT_EQ(withProperties({}), AccountPreferences());
}

TEST_F(AccountsServiceTest, TellsNothingOfAnAccountThatIsNotThere) {
  serve();
  EXPECT_EQ(preferencesOf("nobody"), AccountPreferences());
}

TEST_F(AccountsServiceTest, TellsNothingWithoutTheService) {
  EXPECT_EQ(preferencesOf("carol"), AccountPreferences());
}

TEST_F(AccountsServiceTest, TellsNothingWithoutABus) {
  mOptions.systemBusAddress = "unix:path=/nowhere";
  EXPECT_EQ(preferencesOf("carol"), AccountPreferences());
}

TEST_F(AccountsServiceTest, TellsNothingWhenNothingIsAnsweredInTime) {
  mOptions.callTimeout = std::chrono::milliseconds(100);
  serve();
  mService->answers["GetAll"] = [](sd_bus_message*) { return 0; };
  EXPECT_EQ(preferencesOf("carol"), AccountPreferences());
}

TEST_F(AccountsServiceTest, AsksNoObjectThatIsNoUsers) {
  mPath = "/org/freedesktop/Elsewhere";
  EXPECT_EQ(withProperties({{"XSession", "sway"}}), AccountPreferences());
  EXPECT_THAT(mService->calls, ElementsAre("FindUserByName"));
}

TEST_F(AccountsServiceTest, BelievesNoTextThatIsTooLongOrOfSeveralLines) {
  EXPECT_EQ(withProperties({{"XSession", std::string(256, 's')},
                            {"Language", std::string(65, 'l')},
                            {"PasswordHint", std::string(257, 'h')}}),
            AccountPreferences());
  EXPECT_EQ(withProperties({{"XSession", "sway\nrm"}, {"PasswordHint", "a\x1b[2J"}}),
            AccountPreferences());
  EXPECT_EQ(withProperties({{"PasswordHint", std::string(256, 'h')}}).passwordHint,
            std::string(256, 'h'));
}

TEST_F(AccountsServiceTest, BelievesNoAnswerOfAnotherType) {
  serve();
  mService->answers["GetAll"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "a{sv}", 2, "XSession", "u", 1U, "PasswordHint", "as",
                                      1, "hint");
  };
  EXPECT_EQ(preferencesOf("carol"), AccountPreferences());
  mService->answers["GetAll"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "s", "sway");
  };
  EXPECT_EQ(preferencesOf("carol"), AccountPreferences());
  mService->answers["FindUserByName"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "u", 1002U);
  };
  EXPECT_EQ(preferencesOf("carol"), AccountPreferences());
}

}  // namespace
}  // namespace gatehall::greeter
