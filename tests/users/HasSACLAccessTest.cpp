#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HasSACLAccess : public Machine {
 protected:
  HasSACLAccess() {
    install(cast::machineOfAll());
    addUser({{"RecordName", {"noguid"}}, {"UniqueID", {"3001"}}});
    addUser({{"RecordName", {"badguid"}}, {"UniqueID", {"3002"}}, {"GUID", {"no identifier"}}});
    addUser({{"RecordName", {"zero"}},
             {"UniqueID", {"3003"}},
             {"GUID", {"00000000-0000-0000-0000-000000000000"}}});
  }

  void admit(std::vector<std::variant<std::string, std::uint32_t>> members) {
    mWorld->membership().setAccessList("gatehall", {std::move(members), 0});
  }

  Strings conversions() const {
    Strings names;
    for (const auto& call : calls()) {
      if (call.operation.ends_with("Identifier")) names.push_back(call.operation);
    }
    return names;
  }
};

TEST_F(HasSACLAccess, IsEveryonesWithoutAnAccessList) {
  EXPECT_TRUE(userNamed("ann")->hasSACLAccess());
  EXPECT_TRUE(userNamed("noguid")->hasSACLAccess());
}

TEST_F(HasSACLAccess, IsThatOfTheListsMembersByGUID) {
  admit({std::string(cast::kAnnGUID)});
  EXPECT_TRUE(userNamed("ann")->hasSACLAccess());
  EXPECT_FALSE(userNamed("bob")->hasSACLAccess());
}

TEST_F(HasSACLAccess, AsksTheServiceGatehallByTheGUIDsIdentifier) {
  admit({});
  const auto ann = userNamed("ann");
  forgetCalls();
  ann->hasSACLAccess();
  EXPECT_THAT(conversions(), ElementsAre("guidToIdentifier"));
  EXPECT_THAT(calls("checkServiceMembership"),
              ElementsAre(Call{
                  "checkServiceMembership",
                  {{"service", "gatehall"}, {"identifier", "6c6b2f1e000040008000000000001000"}}}));
}

TEST_F(HasSACLAccess, GoesByTheUserIDOfAUserWithoutAGUID) {
  admit({3001U});
  const auto user = userNamed("noguid");
  forgetCalls();
  EXPECT_TRUE(user->hasSACLAccess());
  EXPECT_THAT(conversions(), ElementsAre("userIDToIdentifier"));
  EXPECT_EQ(calls("userIDToIdentifier").front().arguments.at("userID"), Value(3001));
  admit({});
  EXPECT_FALSE(user->hasSACLAccess());
}

TEST_F(HasSACLAccess, GoesByTheUserIDWhenTheGUIDCannotBeConverted) {
  admit({3002U});
  const auto user = userNamed("badguid");
  forgetCalls();
  EXPECT_TRUE(user->hasSACLAccess());
  EXPECT_THAT(conversions(), ElementsAre("guidToIdentifier", "userIDToIdentifier"));
}

TEST_F(HasSACLAccess, GoesByTheUserIDWhenTheGUIDIsAllZeros) {
  admit({});
  const auto user = userNamed("zero");
  forgetCalls();
  user->hasSACLAccess();
  EXPECT_THAT(conversions(), ElementsAre("guidToIdentifier", "userIDToIdentifier"));
}

TEST_F(HasSACLAccess, IsRefusedWhenTheUserIDCannotBeConverted) {
  fail({{"userIDToIdentifier", Fault::Kind::Absent}});
  const auto user = userNamed("noguid");
  EXPECT_FALSE(user->hasSACLAccess());
  EXPECT_THAT(calls("checkServiceMembership"), IsEmpty());
  EXPECT_TRUE(userNamed("ann")->hasSACLAccess());
}

TEST_F(HasSACLAccess, IsRefusedByAnyOtherStatus) {
  for (const int status : {1, 3, -1, 22}) {
    mWorld->membership().setAccessList("gatehall", {{std::string(cast::kAnnGUID)}, status});
    EXPECT_FALSE(userNamed("ann")->hasSACLAccess()) << status;
  }
  mWorld->membership().setAccessList("gatehall", {{}, 2});
  EXPECT_TRUE(userNamed("ann")->hasSACLAccess());
}

TEST_F(HasSACLAccess, OfAnotherServiceIsOfNoConcern) {
  mWorld->membership().setAccessList("ssh", {});
  EXPECT_TRUE(userNamed("ann")->hasSACLAccess());
}

/// A host whose membership service converts every user id to the identifier of all zeros.
class ZeroMembership final : public MembershipService {
 public:
  int guidToIdentifier(std::string_view, Identifier& identifier) override {
    identifier.fill(0xFF);
    return 1;
  }
  int userIDToIdentifier(std::uint32_t, Identifier&) override { return 0; }
  int checkServiceMembership(const Identifier&, std::string_view, bool&) override {
    ADD_FAILURE() << "there is nobody to ask about";
    return 1;
  }
};

class ZeroHost final : public InstrumentedPlatform {
 public:
  using InstrumentedPlatform::InstrumentedPlatform;
  MembershipService& membership() override { return mMembership; }

 private:
  ZeroMembership mMembership;
};

TEST_F(HasSACLAccess, IsGivenWithoutAskingWhenTheIdentifierStaysAllZeros) {
  Platform::install(std::make_shared<ZeroHost>(mWorld));
  EXPECT_TRUE(userNamed("badguid")->hasSACLAccess()) << "what a failed conversion left is dropped";
  EXPECT_TRUE(userNamed("noguid")->hasSACLAccess());
}

}  // namespace
}  // namespace gatehall
