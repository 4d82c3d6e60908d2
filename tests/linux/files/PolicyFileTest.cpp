#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <sys/resource.h>

#include "linux/files/PolicyFile.h"
#include "tests/linux/UnusableFiles.h"

namespace gatehall {

namespace {

using testing::HasSubstr;

constexpr const char* kPath = "/a folder/with/policy";
constexpr std::size_t kLimit = 1000;

/// What is read, or why nothing is.
std::string answer(const Machine& machine) {
  try {
    return readPolicyFile(machine.options, kPath, kLimit).value_or("absent");
  } catch (const PlatformException& error) {
    return error.what();
  }
}

class PolicyFile : public testing::Test {
 protected:
  PolicyFile() { machine.write(kPath, "policy"); }
  Machine machine;
};

}  // namespace

TEST_F(PolicyFile, IsReadUpToTheLimit) {
  EXPECT_EQ(answer(machine), "policy");
  machine.write(kPath, std::string(kLimit, 'a'));
  EXPECT_EQ(answer(machine), std::string(kLimit, 'a'));
  machine.write(kPath, std::string(kLimit + 1, 'a'));
  EXPECT_EQ(answer(machine), "/a folder/with/policy: it is too long");
}

TEST_F(PolicyFile, IsAbsentOnlyWhenItOrAFolderAboveIsNotThere) {
  machine.remove(kPath);
  EXPECT_EQ(answer(machine), "absent");
  std::filesystem::remove(machine.path("/a folder/with"));
  EXPECT_EQ(answer(machine), "absent");
  std::filesystem::remove(machine.path("/a folder"));
  EXPECT_EQ(answer(machine), "absent");
}

TEST_F(PolicyFile, ThatIsRehearsedIsWhatTheHostsOptionsSay) {
  machine.options.rehearsed[kPath] = "another";
  EXPECT_EQ(answer(machine), "another");
  machine.options.rehearsed[kPath] = std::nullopt;
  EXPECT_EQ(answer(machine), "absent");
  machine.options.rehearsed = {{"/another", "another"}};
  EXPECT_EQ(answer(machine), "policy");
}

TEST_F(PolicyFile, HasEveryFolderAboveItLookedAt) {
  ASSERT_EQ(chmod(machine.path("/a folder").c_str(), 0775), 0);
  EXPECT_EQ(answer(machine),
            "/a folder/with/policy: the folder /a folder can be written by others than its owner");
  machine.remove(kPath);
  EXPECT_THAT(answer(machine), HasSubstr("the folder /a folder can be written"))
      << "whoever can write the folder can have taken it away";
}

TEST_F(PolicyFile, HasTheHostsOwnRootForItsTop) {
  ASSERT_EQ(chmod(machine.options.root.c_str(), 0777), 0);
  EXPECT_EQ(answer(machine), "policy");
}

TEST(PolicyFileOfTheMachine, HasTheRootFolderForItsTop) {
  try {
    readPolicyFile(HostOptions(), "/tmp/policy", kLimit);
    FAIL() << "everybody can write there";
  } catch (const PlatformException& error) {
    EXPECT_STREQ(error.what(),
                 "/tmp/policy: the folder /tmp can be written by others than its owner");
  }
  EXPECT_EQ(readPolicyFile(HostOptions(), "/no such policy", kLimit), std::nullopt);
}

TEST_F(PolicyFile, IsNotAbsentWhenNoDescriptorIsLeft) {
  rlimit kept{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &kept), 0);
  const auto lowest = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(lowest);
  for (rlim_t left = 0; left < 3; ++left) {
    const rlimit few{static_cast<rlim_t>(lowest) + left, kept.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const auto said = answer(machine);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &kept), 0);
    // Two are open at a time: a folder, and what is in it.
    EXPECT_EQ(said, left < 2 ? "/a folder/with/policy: Too many open files" : "policy") << left;
  }
}

class UnusablePolicyFile : public testing::TestWithParam<UnusableFile> {
 protected:
  Machine machine;
};

TEST_P(UnusablePolicyFile, RaisesWithTheReasonWhoeverReadsIt) {
  machine.write(kPath, "policy");
  const auto obstacle = GetParam().make(machine, kPath);
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  const auto expected = std::string(kPath) + ": " + GetParam().reasonFor(kPath);
  EXPECT_EQ(answer(machine), expected);
  if (geteuid() != 0) return;
  ASSERT_EQ(chmod(machine.options.root.c_str(), 0755), 0);
  EXPECT_EQ(askedAsNobody([&] { return answer(machine); }), expected);
}

INSTANTIATE_TEST_SUITE_P(EveryWay, UnusablePolicyFile, testing::ValuesIn(UnusableFile::all()),
                         [](const auto& each) { return each.param.name; });

}  // namespace gatehall
