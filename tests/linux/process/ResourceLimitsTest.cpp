#include <cstddef>
#include <gtest/gtest.h>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "linux/process/ResourceLimits.h"

namespace gatehall {
namespace {

constexpr int kRaised = 0;
constexpr int kTooLow = 1;
constexpr int kNoFilter = 2;

int outcome() { return raiseResourceLimits() ? kRaised : kTooLow; }

/// From now on nobody may set this process's limits, which can still be read: both are
/// prlimit64(2), to set them with a third argument.
bool forbidSettingLimits() {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_prlimit64, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | 1U),  // EPERM
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{std::size(steps), steps};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

}  // namespace

TEST(ResourceLimits, AreRaisedAsFarAsTheyMay) {
  const auto raised = [] {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit low{limit.rlim_max / 2, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &low);
    const int result = outcome();
    getrlimit(RLIMIT_NOFILE, &limit);
    _exit(limit.rlim_cur == limit.rlim_max ? result : kTooLow);
  };
  EXPECT_EXIT(raised(), testing::ExitedWithCode(kRaised), "");
}

TEST(ResourceLimits, ThatCannotBeSetAreTooLow) {
  EXPECT_EXIT(_exit(forbidSettingLimits() ? outcome() : kNoFilter),
              testing::ExitedWithCode(kTooLow), "");
}

}  // namespace gatehall
