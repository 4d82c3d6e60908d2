#include <sys/wait.h>

#include "linux/local/PasswordChange.h"
#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using local::changePasswordThroughPam;
using local::PasswordChange;

constexpr uid_t kNobody = 65534;

class PasswordChanges : public testing::Test {
 protected:
  PasswordChanges() {
    if (chmod(machine.options.root.c_str(), 0755) != 0) throw std::runtime_error("chmod");
  }

  void moduleExpects(const std::string& answers) {
    machine.write("/etc/pam.d/passwd",
                  "password required " GATEHALL_PAM_ASKING " " + answers + "\n");
  }

  PasswordChange change(std::string_view oldPassword, std::string_view newPassword) {
    return changePasswordThroughPam(machine.options, "carol", oldPassword, newPassword);
  }

  /// The same from a process that is not root's.
  PasswordChange changeAsSomeone(std::string_view oldPassword, std::string_view newPassword) {
    const auto child = fork();
    if (child == 0) {
      if (getuid() == 0 && setuid(kNobody) != 0) _exit(99);
      _exit(static_cast<int>(change(oldPassword, newPassword)));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return static_cast<PasswordChange>(WEXITSTATUS(status));
  }

  Machine machine;
};

}  // namespace

TEST_F(PasswordChanges, GivePamTheOldPasswordOnceAndTheNewOneTwice) {
  moduleExpects("before after 2");
  EXPECT_EQ(changeAsSomeone("before", "after"), PasswordChange::Done);
  EXPECT_EQ(changeAsSomeone("wrong", "after"), PasswordChange::OldPasswordRefused);
  EXPECT_EQ(changeAsSomeone("before", "wrong"), PasswordChange::NewPasswordRefused);
}

TEST_F(PasswordChanges, GivePamOnlyTheNewPasswordWhenTheProcessIsRoots) {
  if (getuid() != 0) GTEST_SKIP() << "needs root";
  moduleExpects("before after 2");
  EXPECT_EQ(change("not asked for", "after"), PasswordChange::Done);
}

TEST_F(PasswordChanges, EndWhenPamAsksOnAndOn) {
  moduleExpects("before after 3");
  EXPECT_EQ(changeAsSomeone("before", "after"), PasswordChange::NewPasswordRefused);
}

TEST_F(PasswordChanges, RefuseAPasswordThatPamWouldSeeTheStartOf) {
  moduleExpects("before after 2");
  EXPECT_EQ(change("before", std::string_view("after\0more", 10)),
            PasswordChange::NewPasswordRefused);
  EXPECT_EQ(change(std::string_view("before\0more", 11), "after"),
            PasswordChange::OldPasswordRefused);
}

}  // namespace gatehall
