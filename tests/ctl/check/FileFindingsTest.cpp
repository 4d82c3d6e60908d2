#include "tests/ctl/check/CheckedMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class FileFindings : public CheckedMachine {};

TEST_F(FileFindings, AreThoseThatUsersCantRead) {
  mode("/etc/group", 0640);
  EXPECT_THAT(
      findings(),
      ElementsAre(StartsWith("warning /etc/group it can't be read by other users (mode 0640)")));
  EXPECT_EQ(document()["findings"][0]["remedy"], "Run \"chmod o+rX /etc/group\".");
}

TEST_F(FileFindings, AreThoseThatOthersCanWrite) {
  mode("/etc/passwd", 0666);
  EXPECT_THAT(findings(), ElementsAre("error /etc/passwd it can be written by others than its "
                                      "owner (mode 0666)"));
}

TEST_F(FileFindings, AreThoseOfSomebodyElse) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  ASSERT_EQ(chown(machine.path("/etc/group").c_str(), 1234, 0), 0);
  EXPECT_THAT(findings(), ElementsAre("error /etc/group it belongs to user 1234"));
}

TEST_F(FileFindings, AreHashesThatEverybodyCanRead) {
  mode("/etc/shadow", 0644);
  machine.write("/etc/userdb/erin.user", R"({"userName": "erin", "uid": 1007, "gid": 1007})");
  machine.write("/etc/userdb/erin.user-privileged", "{}");
  EXPECT_THAT(findings(),
              ElementsAre("error /etc/shadow it can be read by everybody (mode 0644), and holds "
                          "hashes of passwords",
                          "error /etc/userdb/erin.user-privileged it can be read by everybody "
                          "(mode 0644), and holds hashes of passwords"));
}

}  // namespace
}  // namespace gatehall
