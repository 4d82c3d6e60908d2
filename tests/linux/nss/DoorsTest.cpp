#include "gatehall/access/UserAccess.h"
#include "gatehall/linux/LinuxSwitchPlatform.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/UserLookup.h"
#include "linux/directory/LinuxMembership.h"
#include "tests/linux/nss/fixture/NameServiceMachine.h"

// What becomes of people whom only the name service knows, on a good day and on a bad one.

namespace gatehall {
namespace {

using nss::Type;
using testing::Contains;
using testing::HasSubstr;

constexpr int kDana = 20001;
constexpr int kEd = 20002;

class SitePlatform final : public LinuxSwitchPlatform {
 public:
  SitePlatform(NameServiceMachine& machine, const std::shared_ptr<KeptLog>& log)
      : LinuxSwitchPlatform(machine.linuxOptions(), log),
        mDirectory(machine.options, *log, machine.clock),
        mMembership(mDirectory, *log) {}

  DirectoryService& directory() override { return mDirectory; }
  MembershipService& membership() override { return mMembership; }

 private:
  LinuxDirectory mDirectory;
  LinuxMembership mMembership;
};

class NssDoors : public testing::Test {
 protected:
  ~NssDoors() override { Platform::install(nullptr); }

  void list(const std::string& key, Type type, std::string_view name) const {
    machine.write("/etc/gatehall/com.orvane.gatehall.plist",
                  "<plist version=\"1.0\"><dict><key>" + key + "</key><array><string>" +
                      NameServiceMachine::guidOf(type, name) + "</string></array></dict></plist>");
  }

  /// As a program decides that has just started.
  bool admits(int userID) {
    const auto log = std::make_shared<KeptLog>();
    Platform::install(std::make_shared<SitePlatform>(machine, log));
    bool isAdmitted = false;
    mWhy = {"nothing was raised"};
    try {
      const auto user = cachedUserForUID(userID);
      isAdmitted = user && std::make_shared<UserAccess>()->decideLogin(*user).allowed();
    } catch (const PlatformException& failure) {
      mWhy = {failure.what()};
    }
    Platform::install(nullptr);
    for (const auto& line : log->lines()) mWhy.push_back(line);
    return isAdmitted;
  }

  NameServiceMachine machine;
  Strings mWhy;  ///< of the last decision: what was raised, and the log
};

}  // namespace

TEST_F(NssDoors, AdmitEverybodyWithoutAList) {
  EXPECT_TRUE(admits(kDana));
  EXPECT_TRUE(admits(kEd));
}

TEST_F(NssDoors, AdmitByAnAllowListTheMembersOfAGroup) {
  machine.configure("names = [\"staff\"]\n");
  list("AllowList", Type::Group, "staff");
  EXPECT_TRUE(admits(kDana));
  EXPECT_FALSE(admits(kEd));
}

TEST_F(NssDoors, RefuseByADenyListTheMembersWhomAServiceHides) {
  machine.configure("names = [\"staff\", \"pupils\"]\n");
  machine.serve("group", "staff:*:20010:\npupils:*:20000:\n");
  list("DenyList", Type::Group, "staff");
  EXPECT_FALSE(admits(kDana));
  EXPECT_TRUE(admits(kEd));
  list("DenyList", Type::Group, "pupils");
  EXPECT_FALSE(admits(kDana)) << "whose primary group it is";
  EXPECT_FALSE(admits(kEd));
}

TEST_F(NssDoors, AskNoQuestionForAMember) {
  machine.configure("names = [\"staff\"]\n");
  std::string members = "dana";
  for (int number = 0; number < 500; ++number) members += ",u" + std::to_string(number);
  machine.serve("group", "staff:*:20010:" + members + "\n");
  list("AllowList", Type::Group, "staff");
  machine.asked();
  EXPECT_TRUE(admits(kDana));
  EXPECT_LT(machine.asked().size(), 20);
}

TEST_F(NssDoors, AdmitByTheServiceAccessListOfTheNameService) {
  machine.serve("group", "gatehall-access:*:20030:ed\n");
  EXPECT_FALSE(admits(kDana));
  EXPECT_TRUE(admits(kEd));
}

TEST_F(NssDoors, RefuseWhileAListMayMeanANameThatIsNotKnown) {
  list("DenyList", Type::Group, "staff");
  EXPECT_FALSE(admits(kEd));
  EXPECT_THAT(mWhy, Contains(HasSubstr("whose GUID")));
}

TEST_F(NssDoors, RefuseWhomAListMeansThatTheServiceHasNothingOfNow) {
  machine.configure("names = [\"staff\"]\n");
  list("AllowList", Type::Group, "staff");
  // As a cache answers that never kept the group.
  machine.serve("group", "");
  machine.serve("groups", "");
  EXPECT_FALSE(admits(kEd));
  list("DenyList", Type::Group, "staff");
  EXPECT_FALSE(admits(kEd));
  list("AllowList", Type::User, "staff");
  EXPECT_FALSE(admits(kEd));
}

TEST_F(NssDoors, RefuseWhomTheServiceForgetsBetweenTwoQuestions) {
  machine.configure("names = [\"staff\"]\n");
  machine.serve("group", "staff:*:20010:\n");
  list("DenyList", Type::Group, "staff");
  machine.serve("forgetful", "");
  EXPECT_FALSE(admits(kDana));
  EXPECT_THAT(mWhy, Contains(HasSubstr("the groups of dana can't be told")));
}

TEST_F(NssDoors, RefuseWhileTheServiceIsAway) {
  machine.serve("away", "");
  EXPECT_FALSE(admits(kDana));
  machine.stopServing("away");
  machine.program("exit 1");
  EXPECT_FALSE(admits(kDana));
  EXPECT_THAT(mWhy, Contains(HasSubstr("nss/site")));
}

}  // namespace gatehall
