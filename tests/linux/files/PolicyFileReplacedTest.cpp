#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "linux/files/PolicyFile.h"
#include "tests/linux/UnusableFiles.h"

namespace gatehall {

namespace {

constexpr const char* kPath = "/a folder/with/policy";
constexpr const char* kLock = "/a folder/with/.policy.lock";

class PolicyFileReplaced : public testing::Test {
 protected:
  std::string read() {
    try {
      return readPolicyFile(machine.options, kPath, 1000).value_or("absent");
    } catch (const PlatformException& error) {
      return error.what();
    }
  }
  /// Why the file isn't written; empty when it is.
  std::string write(std::string_view content, std::optional<std::string> known) {
    return writeAnyway(content, &known);
  }
  std::string writeAnyway(std::string_view content, const std::optional<std::string>* known) {
    try {
      replacePolicyFile(machine.options, kPath, content, known);
      return {};
    } catch (const PlatformException& error) {
      return error.what();
    }
  }
  mode_t mode(std::string_view path) {
    struct stat status {};
    EXPECT_EQ(stat(machine.path(path).c_str(), &status), 0) << path;
    EXPECT_EQ(status.st_uid, geteuid());
    return status.st_mode & 07777U;
  }
  /// But for the lock.
  std::size_t filesInFolder() {
    const std::filesystem::directory_iterator files(machine.path("/a folder/with"));
    return static_cast<std::size_t>(std::ranges::count_if(
        files, [this](const auto& each) { return each.path() != machine.path(kLock); }));
  }

  Machine machine;
};

}  // namespace

TEST_F(PolicyFileReplaced, IsMadeWithItsFoldersAndReadableWhateverTheMask) {
  const auto mask = umask(0177);
  const auto fault = write("policy", std::nullopt);
  umask(mask);
  EXPECT_EQ(fault, "");
  EXPECT_EQ(read(), "policy");
  EXPECT_EQ(mode("/a folder"), 0755U);
  EXPECT_EQ(mode("/a folder/with"), 0755U);
  EXPECT_EQ(mode(kPath), 0644U);
}

TEST_F(PolicyFileReplaced, BelongsToTheOwnerOfTheRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can give files to others.";
  ASSERT_EQ(chown(machine.options.root.c_str(), 1001, 50), 0);
  EXPECT_EQ(write("policy", std::nullopt), "");
  EXPECT_EQ(read(), "policy");
}

TEST_F(PolicyFileReplaced, TakesThePlaceOfTheKnownOneOnly) {
  machine.write(kPath, "old");
  EXPECT_EQ(write("new", std::nullopt), std::string(kPath) + ": it was changed meanwhile");
  EXPECT_EQ(write("new", "older"), std::string(kPath) + ": it was changed meanwhile");
  EXPECT_EQ(write("new", "old and more"), std::string(kPath) + ": it was changed meanwhile");
  EXPECT_EQ(read(), "old");
  EXPECT_EQ(write("new", "old"), "");
  EXPECT_EQ(read(), "new");
  machine.remove(kPath);
  EXPECT_EQ(write("newer", "new"), std::string(kPath) + ": it was changed meanwhile");
  EXPECT_EQ(writeAnyway("newest", nullptr), "");
  EXPECT_EQ(read(), "newest");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PolicyFileReplaced, IsWrittenByOneAtATime) {
  machine.write(kPath, "old");
  ASSERT_EQ(write("older", "old"), "");
  const FileDescriptor lock(open(machine.path(kLock).c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(flock(lock.number(), LOCK_EX), 0);
  EXPECT_EQ(write("new", "older"), std::string(kPath) + ": another process is writing it");
  EXPECT_EQ(read(), "older");
}

TEST_F(PolicyFileReplaced, CanNotBeHeldUpByThoseWhoMayOnlyRead) {
  ASSERT_EQ(write("old", std::nullopt), "");
  EXPECT_EQ(mode(kLock), 0600U);
  for (const auto* path : {"/a folder/with", kPath}) {
    const FileDescriptor read(open(machine.path(path).c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(read.number(), LOCK_EX), 0);
    EXPECT_EQ(writeAnyway("new", nullptr), "") << path;
  }
}

TEST_F(PolicyFileReplaced, IsNotWrittenUnderALockThatOthersCanOpen) {
  machine.write(kPath, "old");
  machine.write(kLock, "");
  const auto expected =
      std::string(kPath) + ": its lock, .policy.lock, is not a file that only its owner can open";
  EXPECT_EQ(write("new", "old"), expected);
  machine.remove(kLock);
  ASSERT_EQ(mkfifo(machine.path(kLock).c_str(), 0600), 0);
  EXPECT_EQ(write("new", "old"), expected);
  EXPECT_EQ(read(), "old");
}

TEST_F(PolicyFileReplaced, GivesAwayNoFolderThatIsPutInTheNewOnesPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives folders away";
  // Not every round meets the moment at which the new folder is not yet opened.
  constexpr uid_t kOwner = 4242;
  const auto above = machine.path("/a folder");
  const auto made = above + "/with";
  const auto roots = above + "/root's";
  std::filesystem::remove_all(above);
  std::filesystem::create_directories(roots);
  std::ofstream(roots + "/file") << "root's";
  ASSERT_EQ(chown(machine.options.root.c_str(), kOwner, kOwner), 0);
  ASSERT_EQ(chown(above.c_str(), kOwner, kOwner), 0);
  for (int round = 0; round < 200; ++round) {
    std::atomic<bool> isOver = false;
    std::thread owner([&] {
      while (!isOver &&
             renameat2(AT_FDCWD, roots.c_str(), AT_FDCWD, made.c_str(), RENAME_EXCHANGE) != 0) {
      }
    });
    writeAnyway("new", nullptr);
    isOver = true;
    owner.join();
    const bool isExchanged = std::filesystem::exists(made + "/file");
    struct stat status {};
    ASSERT_EQ(stat((isExchanged ? made : roots).c_str(), &status), 0);
    ASSERT_EQ(status.st_uid, 0U) << "in round " << round;
    std::filesystem::remove_all(isExchanged ? roots : made);
    if (isExchanged) std::filesystem::rename(made, roots);
  }
}

TEST_F(PolicyFileReplaced, GoesOnFromWhatADeadWriterLeft) {
  machine.write(kPath, "old");
  machine.write("/a folder/with/.policy.new", "half");
  EXPECT_EQ(write("new", "old"), "");
  EXPECT_EQ(read(), "new");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PolicyFileReplaced, IsTheOldOrTheNewOneWheneverTheWriterDies) {
  const std::string contents[] = {std::string(900, 'a'), std::string(900, 'b')};
  machine.write(kPath, contents[0]);
  for (int round = 0; round < 50; ++round) {
    const auto writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      for (std::size_t each = 0;; ++each) {
        replacePolicyFile(machine.options, kPath, contents[each % 2], nullptr);
      }
    }
    // However far it comes meanwhile.
    for (int look = 0; look < round; ++look) {
      EXPECT_THAT(contents, testing::Contains(read()));
    }
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    EXPECT_THAT(contents, testing::Contains(read()));
  }
  EXPECT_EQ(writeAnyway("new", nullptr), "");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PolicyFileReplaced, LeavesTheOldOneWhenItCanNotBeWritten) {
  machine.write(kPath, "old");
  const auto writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10, 10};
    setrlimit(RLIMIT_FSIZE, &small);
    const auto said = write("what is longer than that", "old");
    _exit(said == std::string(kPath) + ": File too large" ? 0 : 1);
  }
  int status = 0;
  waitpid(writer, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(read(), "old");
  EXPECT_EQ(filesInFolder(), 1U);
}

class UnusablePolicyFileReplaced : public testing::TestWithParam<UnusableFile> {
 protected:
  Machine machine;
};

TEST_P(UnusablePolicyFileReplaced, IsRefusedWithTheReason) {
  machine.write(kPath, "old");
  const auto obstacle = GetParam().make(machine, kPath);
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  std::string said;
  try {
    const std::optional<std::string> known("old");
    replacePolicyFile(machine.options, kPath, "new", &known);
  } catch (const PlatformException& error) {
    said = error.what();
  }
  EXPECT_EQ(said, std::string(kPath) + ": " + GetParam().reasonFor(kPath));
}

INSTANTIATE_TEST_SUITE_P(EveryWay, UnusablePolicyFileReplaced,
                         testing::ValuesIn(UnusableFile::all()),
                         [](const auto& each) { return each.param.name; });

}  // namespace gatehall
