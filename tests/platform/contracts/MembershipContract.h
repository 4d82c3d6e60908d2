#pragma once

#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine with the accounts of the scene, at first without an access list.
class MembershipHost {
 public:
  virtual ~MembershipHost() = default;
  virtual Platform& platform() = 0;

  /// Defines the access list of the service "gatehall": it admits this account and no other of the
  /// scene; nullptr: none at all.
  virtual void admit(const Account* account) = 0;
};

class MembershipContract : public testing::TestWithParam<Factory<MembershipHost>> {
 protected:
  MembershipService& membership() { return mHost->platform().membership(); }

  std::string guidOf(const Account& account) {
    const auto session = mHost->platform().directory().defaultSession();
    const auto record =
        session->nodeByType(NodeType::Local)->recordByTypeAndName(record::Users, account.name, {});
    return record->valuesForAttribute(attribute::GUID)->at(0);
  }

  Identifier identifierOf(const Account& account) {
    Identifier identifier{};
    EXPECT_EQ(membership().userIDToIdentifier(account.userID, identifier), 0);
    return identifier;
  }

  const std::unique_ptr<MembershipHost> mHost = GetParam()();
};

TEST_P(MembershipContract, TurnsAGUIDIntoItsBytes) {
  constexpr Identifier expected = {0x6C, 0x6B, 0x2F, 0x1E, 0x00, 0x01, 0x40, 0x02,
                                   0x80, 0x03, 0xFF, 0xee, 0xDD, 0xcc, 0x10, 0x01};
  Identifier identifier{};
  EXPECT_EQ(membership().guidToIdentifier("6C6B2F1E-0001-4002-8003-FFeeDDcc1001", identifier), 0);
  EXPECT_EQ(identifier, expected);
}

TEST_P(MembershipContract, RefusesATextThatIsNoGUID) {
  for (const auto* text :
       {"", "6C6B2F1E", "6C6B2F1E-0001-4002-8003-FFEEDDCC100",
        "6C6B2F1E-0001-4002-8003-FFEEDDCC10011", "6C6B2F1E00014002-8003-FFEEDDCC100111",
        "6C6B2F1G-0001-4002-8003-FFEEDDCC1001", "{6C6B2F1E-0001-4002-8003-FFEEDDCC10}",
        "6C6B2F1E-0001-4002-8003-FFEEDDCC10 1", "-C6B2F1E-0001-4002-8003-FFEEDDCC1001",
        "6C6B2F1E-0001-4002-8003 FFEEDDCC1001"}) {
    Identifier identifier{};
    EXPECT_NE(membership().guidToIdentifier(text, identifier), 0) << text;
  }
}

TEST_P(MembershipContract, KnowsAnAccountByOneIdentifierForItsIDAndItsGUID) {
  for (const auto& account : kAccounts) {
    Identifier byGUID{};
    ASSERT_EQ(membership().guidToIdentifier(guidOf(account), byGUID), 0);
    EXPECT_EQ(identifierOf(account), byGUID) << account.name;
  }
}

TEST_P(MembershipContract, DerivesAnIdentifierForAUserIDThatNobodyHas) {
  Identifier one{};
  Identifier other{};
  EXPECT_EQ(membership().userIDToIdentifier(4294967293U, one), 0);
  EXPECT_EQ(membership().userIDToIdentifier(4294967292U, other), 0);
  EXPECT_NE(one, Identifier{});
  EXPECT_NE(one, other);
}

TEST_P(MembershipContract, SaysThatAServiceHasNoAccessList) {
  bool isMember = false;
  EXPECT_EQ(membership().checkServiceMembership(identifierOf(kAnn), "gatehall", isMember),
            MembershipService::kNoAccessList);
  mHost->admit(&kAnn);
  EXPECT_EQ(membership().checkServiceMembership(identifierOf(kAnn), "xyzzy", isMember),
            MembershipService::kNoAccessList);
}

TEST_P(MembershipContract, AdmitsWhomTheAccessListNames) {
  mHost->admit(&kAnn);
  bool isMember = false;
  EXPECT_EQ(membership().checkServiceMembership(identifierOf(kAnn), "gatehall", isMember), 0);
  EXPECT_TRUE(isMember);
  EXPECT_EQ(membership().checkServiceMembership(identifierOf(kBob), "gatehall", isMember), 0);
  EXPECT_FALSE(isMember);
}

TEST_P(MembershipContract, AdmitsNobodyByAnEmptyAccessList) {
  mHost->admit(nullptr);
  bool isMember = true;
  EXPECT_EQ(membership().checkServiceMembership(identifierOf(kAnn), "gatehall", isMember), 0);
  EXPECT_FALSE(isMember);
}

}  // namespace gatehall::contracts
