#include "tests/ctl/check/CheckedMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AccessFindings : public CheckedMachine {};

TEST_F(AccessFindings, AreNoneOfAGroupWithAnAdministratorInIt) {
  group("gatehall-access:x:990:ann,bob\n");
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(AccessFindings, AreNoneOfAGroupThatIsSomebodysPrimaryOne) {
  group("gatehall-access:x:1000:\n");
  EXPECT_THAT(findings(),
              ElementsAre("warning /etc/group:5 the group id 1000 of gatehall-access is "
                          "also that of ann, line 3"));
}

TEST_F(AccessFindings, AreAnEmptyGroup) {
  group("gatehall-access:x:990:\n");
  EXPECT_THAT(
      findings(),
      ElementsAre(
          "error /etc/group:5 the group gatehall-access is there and has no "
          "members, so that nobody may log in",
          "error /etc/group:5 every administrator is shut out: ann (not in gatehall-access)"));
}

TEST_F(AccessFindings, AreMembersWhomNobodyKnows) {
  group("gatehall-access:x:990:ann,bobby\n");
  EXPECT_THAT(findings(), ElementsAre("warning /etc/group:5 the group gatehall-access names bobby, "
                                      "whom nobody knows"));
}

TEST_F(AccessFindings, AreAGroupThatLeavesOutEveryAdministrator) {
  group("gatehall-access:x:990:bob\n");
  EXPECT_THAT(
      findings(),
      ElementsAre(
          "error /etc/group:5 every administrator is shut out: ann (not in gatehall-access)"));
}

TEST_F(AccessFindings, AreAMachineThatNobodyAdministers) {
  machine.write("/etc/group", "root:x:0:\nsudo:x:27:\nann:x:1000:\nbob:x:1001:\n");
  EXPECT_THAT(findings(),
              ElementsAre("warning /etc/group:2 nobody besides root is an administrator"));
  EXPECT_EQ(document()["findings"][0]["remedy"], "Add somebody: \"gpasswd -a NAME sudo\".");
}

}  // namespace
}  // namespace gatehall
