#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "linux/hours/LinuxParentalControls.h"
#include "tests/Patience.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"
#include "tests/platform/contracts/NoServices.h"
#include "tests/platform/contracts/ParentalControlsContract.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kList = "/org/freedesktop/Accounts ListCachedUsers\n";
constexpr const char* kAskBob = "/org/freedesktop/Accounts/User1001 GetAll\n";
constexpr const char* kAskCarol = "/org/freedesktop/Accounts/User1002 GetAll\n";

/// A machine with malcontent, on a bus of its own, at noon in UTC.
class LimitedMachine {
 public:
  LimitedMachine() {
    setenv("TZ", "UTC0", 1);
    machine.clock.seconds += 43200;
    machine.options.systemBusAddress = bus.address();
    machine.options.callTimeout = kPatience;
    machine.write(
        "/usr/share/accountsservice/interfaces/"
        "com.endlessm.ParentalControls.SessionLimits.xml",
        "<node/>\n");
    machine.write("/etc/passwd",
                  "ann:x:1000:1000:Ann:/home/ann:/bin/sh\n"
                  "bob:x:1001:1001:Bob:/home/bob:/bin/sh\n"
                  "carol:x:1002:1002:Carol:/home/carol:/bin/sh\n"
                  "erin:x:1003:1003:Erin:/home/erin:/bin/sh\n");
  }
  ~LimitedMachine() { unsetenv("TZ"); }
  LimitedMachine(const LimitedMachine&) = delete;
  LimitedMachine& operator=(const LimitedMachine&) = delete;

  LinuxParentalControls& controls() {
    if (!mControls) {
      mControls = std::make_unique<LinuxParentalControls>(
          machine.options, machine.log, machine.clock,
          [this](std::uint32_t userID, Date change) { expected.emplace_back(userID, change); });
    }
    return *mControls;
  }

  /// When it is that many hours of the machine's day.
  Date hour(double hour) const {
    return Date(std::chrono::duration<double>(machine.clock.seconds + (hour - 12) * 3600));
  }

  bool isManaged(std::string_view name) {
    return machine.user(name)->valuesForAttribute("TavloSettings").has_value();
  }

  PrivateBus bus;
  Machine machine;
  std::vector<std::pair<std::uint32_t, Date>> expected;  ///< changes that were told of

 private:
  std::unique_ptr<LinuxParentalControls> mControls;
};

struct Answer {
  bool isAllowed = false;
  std::int32_t result = 0;
  std::optional<Date> nextCurfew;
  friend bool operator==(const Answer&, const Answer&) = default;
};
const Answer kRefusedForGood{false, LinuxParentalControls::kRefused, std::nullopt};

class LinuxParentalControlsTest : public testing::Test, protected LimitedMachine {
 protected:
  Answer ask(std::uint32_t userID) {
    Answer answer;
    answer.isAllowed = controls().mayLogInNow(userID, answer.result, answer.nextCurfew);
    return answer;
  }
  std::vector<std::shared_ptr<DirectoryRecord>> everyone() {
    return machine.find(record::Users, attribute::RecordName, MatchType::EqualTo,
                        {std::string(attribute::AllRecords)},
                        {std::string(attribute::TavloSettings)});
  }
  static Strings managed(const std::vector<std::shared_ptr<DirectoryRecord>>& users) {
    Strings names;
    for (const auto& user : users) {
      if (user->valuesForAttribute("TavloSettings")) names.push_back(values(user, "RecordName")[0]);
    }
    return names;
  }
};

TEST_F(LinuxParentalControlsTest, GoByTheScheduleOfTheDay) {
  bus.start({"accounts", "account=1001,1,28800,61200", "account=1002,1,61200,86400",
             "account=1003,1,0,3600"});
  EXPECT_EQ(ask(1001), (Answer{true, 0, hour(17)}));
  EXPECT_EQ(ask(1002), (Answer{false, LinuxParentalControls::kRefused, hour(17)}));
  EXPECT_EQ(ask(1003), (Answer{false, LinuxParentalControls::kRefused, hour(24)}));
  EXPECT_THAT(expected, ElementsAre(testing::Pair(1001, hour(17)), testing::Pair(1002, hour(17)),
                                    testing::Pair(1003, hour(24))));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxParentalControlsTest, GoByAScheduleOnlyWhenItIsInForce) {
  bus.start({"accounts", "account=1001,0,61200,86400", "account=1002,0,5,3"});
  EXPECT_EQ(ask(1001), (Answer{true, 0, std::nullopt}));
  EXPECT_EQ(ask(1002), (Answer{true, 0, std::nullopt}));
  EXPECT_FALSE(isManaged("bob"));
}

TEST_F(LinuxParentalControlsTest, HaveNoDateForAScheduleOfTheWholeDay) {
  bus.start({"accounts", "account=1001,1,0,86400"});
  EXPECT_EQ(ask(1001), (Answer{true, 0, std::nullopt}));
  EXPECT_TRUE(isManaged("bob"));
}

TEST_F(LinuxParentalControlsTest, RefuseForALimitThatCannotBeRead) {
  for (const auto* limit : {"2,0,86400", "4294967295,0,86400", "1,61200,28800", "1,43200,43200",
                            "1,0,86401", "1,28800,4294967295", "type-text", "type-real", "no-type",
                            "schedule-number", "schedule-reals", "no-schedule"}) {
    bus.start({"accounts", std::string("account=1001,") + limit});
    EXPECT_EQ(ask(1001), kRefusedForGood) << limit;
    EXPECT_TRUE(isManaged("bob")) << limit;
    bus.calls();
  }
  EXPECT_THAT(machine.log.lines(), testing::Contains(HasSubstr("the limit of user 1001")));
}

TEST_F(LinuxParentalControlsTest, AllowWhomTheServiceDoesNotKnow) {
  bus.start({"accounts", "account=1000", "account=1001,gone"});
  EXPECT_EQ(ask(1001), (Answer{true, 0, std::nullopt}));
  EXPECT_EQ(ask(1009), (Answer{true, 0, std::nullopt}));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxParentalControlsTest, RefuseAndSayWhyWhenTheServiceDoesNotTell) {
  bus.start({"accounts", "account=1001,denied"});
  EXPECT_EQ(ask(1001), kRefusedForGood);
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("Unable to find out when user 1001 may log in: Unable to ask "
                          "org.freedesktop.Accounts for GetAll: Authentication is required"));
}

TEST_F(LinuxParentalControlsTest, RefuseAndSayWhyWithoutTheService) {
  EXPECT_EQ(ask(1001), kRefusedForGood);
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("ListCachedUsers")));
}

TEST_F(LinuxParentalControlsTest, RefuseAndSayWhyForAnswersOfAnotherKind) {
  bus.start({"accounts=nonsense", "account=1001,1,0,3600"});
  EXPECT_EQ(ask(1001), kRefusedForGood);
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("type that was not expected")));
}

TEST_F(LinuxParentalControlsTest, WaitForASilentServiceOnceAndThenLetItRest) {
  machine.options.callTimeout = std::chrono::milliseconds(100);
  bus.start({"accounts=silent"});
  EXPECT_EQ(ask(1001), kRefusedForGood);
  EXPECT_EQ(ask(1001), kRefusedForGood);
  EXPECT_FALSE(isManaged("bob"));
  EXPECT_FALSE(isManaged("bob"));
  EXPECT_THAT(machine.log.lines(), SizeIs(3));
}

TEST_F(LinuxParentalControlsTest, AreAskedAgainAsSoonAsTheServiceIsThere) {
  EXPECT_EQ(ask(1001), kRefusedForGood);
  EXPECT_FALSE(isManaged("bob"));
  bus.start({"accounts", "account=1001,1,28800,61200"});
  EXPECT_EQ(ask(1001), (Answer{true, 0, hour(17)}));
  EXPECT_TRUE(isManaged("bob"));
}

TEST_F(LinuxParentalControlsTest, AskNobodyWithoutMalcontent) {
  std::filesystem::remove_all(machine.path("/usr"));
  bus.start({"accounts", "account=1001,1,0,3600"});
  EXPECT_EQ(ask(1001), (Answer{true, 0, std::nullopt}));
  EXPECT_FALSE(isManaged("bob"));
  EXPECT_THAT(managed(everyone()), IsEmpty());
  EXPECT_EQ(bus.calls(), "");
}

TEST_F(LinuxParentalControlsTest, AreNotAskedForAProgramThatActsOnNoLimits) {
  bus.start({"accounts", "account=1001,1,28800,61200"});
  machine.options.sessionLimits = false;
  EXPECT_FALSE(isManaged("bob"));
  EXPECT_THAT(managed(everyone()), IsEmpty());
  EXPECT_EQ(bus.calls(), "");
}

TEST_F(LinuxParentalControlsTest, MakeAUserManagedWhoseSessionsTheyLimit) {
  bus.start({"accounts", "account=1000", "account=1001,1,0,3600"});
  EXPECT_TRUE(isManaged("bob"));
  EXPECT_FALSE(isManaged("ann"));
  EXPECT_FALSE(isManaged("carol"));
  const auto details = machine.user("bob")->recordDetails({});
  EXPECT_TRUE(details->contains(attribute::TavloSettings));
}

TEST_F(LinuxParentalControlsTest, AreAskedOnceForOneRecord) {
  bus.start({"accounts", "account=1000", "account=1001,1,0,3600", "account=1002"});
  const auto bob = machine.user("bob");
  bob->valuesForAttribute("TavloSettings");
  bob->valuesForAttribute("TavloSettings");
  EXPECT_EQ(bus.calls(), std::string(kList) + kAskBob);
}

TEST_F(LinuxParentalControlsTest, AreAskedAgainForARecordThatIsReadAgain) {
  bus.start({"accounts", "account=1001,1,0,3600"});
  const auto bob = machine.user("bob");
  EXPECT_TRUE(bob->valuesForAttribute("TavloSettings"));
  bus.calls();
  bus.start({"accounts", "account=1001"});
  EXPECT_TRUE(bob->valuesForAttribute("TavloSettings"));
  bob->synchronize();
  EXPECT_FALSE(bob->valuesForAttribute("TavloSettings"));
}

TEST_F(LinuxParentalControlsTest, AreAskedForTheRecordsOfAListThatTheyKnow) {
  bus.start({"accounts", "account=1001,1,0,3600", "account=1002", "account=4711,1,0,3600"});
  EXPECT_THAT(managed(everyone()), ElementsAre("bob"));
  const auto calls = bus.calls();
  EXPECT_THAT(calls, testing::StartsWith(kList));
  EXPECT_THAT(calls, HasSubstr(kAskBob));
  EXPECT_THAT(calls, HasSubstr(kAskCarol));
  EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 3);
}

TEST_F(LinuxParentalControlsTest, AreNotAskedForAListThatDoesNotReturnThem) {
  bus.start({"accounts", "account=1001,1,0,3600"});
  machine.find(record::Users, attribute::RecordName, MatchType::EqualTo,
               {std::string(attribute::AllRecords)}, {std::string(attribute::FullName)});
  EXPECT_EQ(bus.calls(), "");
}

TEST_F(LinuxParentalControlsTest, AreNotAskedOnAboutOthersByAProcessThatTheyDenied) {
  bus.start({"accounts", "account=1001,denied", "account=1002,denied", "account=1003,denied"});
  EXPECT_THAT(managed(everyone()), IsEmpty());
  const auto calls = bus.calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 2) << calls;
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LinuxParentalControlsTest, AreAskedAboutTheProcesssOwnUserThoughTheyDeniedOthers) {
  const auto own = std::to_string(geteuid());
  machine.write("/etc/passwd", "me:x:" + own +
                                   ":100:Me:/home/me:/bin/sh\n"
                                   "bob:x:10001:100:Bob:/home/bob:/bin/sh\n"
                                   "carol:x:10002:100:Carol:/home/carol:/bin/sh\n");
  bus.start(
      {"accounts", "account=10001,denied", "account=" + own + ",1,0,3600", "account=10002,denied"});
  EXPECT_THAT(managed(everyone()), ElementsAre("me"));
}

}  // namespace

namespace contracts {
namespace {

class BusParentalControlsHost final : public ParentalControlsHost {
 public:
  BusParentalControlsHost() { restart(); }
  Platform& platform() override { return mPlatform; }
  Date allow(const Account& account) override { return limit(account, "28800,61200", 17); }
  Date refuse(const Account& account) override { return limit(account, "64800,86400", 18); }
  void free(const Account& account) override {
    mLimits.erase(account.userID);
    restart();
  }

 private:
  class Host final : public NoServices {
   public:
    ParentalControls& parentalControls() override { return machine.controls(); }
    LimitedMachine machine;
  };

  Date limit(const Account& account, const char* schedule, double hour) {
    mLimits[account.userID] = schedule;
    restart();
    return mPlatform.machine.hour(hour);
  }

  void restart() {
    mPlatform.machine.bus.calls();
    std::vector<std::string> words{"accounts"};
    for (const auto& [userID, schedule] : mLimits) {
      words.push_back("account=" + std::to_string(userID) + ",1," + schedule);
    }
    mPlatform.machine.bus.start(words);
  }

  Host mPlatform;
  std::map<std::uint32_t, std::string> mLimits;
};

INSTANTIATE_TEST_SUITE_P(Bus, ParentalControlsContract,
                         testing::Values(&make<BusParentalControlsHost>));

}  // namespace
}  // namespace contracts

}  // namespace gatehall
