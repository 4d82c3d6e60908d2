#include <algorithm>
#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ctl/compare/Workers.h"
#include "gatehall/base/PlatformException.h"

namespace gatehall::ctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Workers, AnswerInTheOrderOfTheTasks) {
  const auto results = Workers{.task = [](std::size_t task) {
                         return "task " + std::to_string(task);
                       }}.carryOut(100);
  ASSERT_EQ(results.size(), 100U);
  for (std::size_t task = 0; task < results.size(); ++task) {
    EXPECT_EQ(results[task].content, "task " + std::to_string(task));
    EXPECT_THAT(results[task].failure, IsEmpty());
  }
}

TEST(Workers, HaveNothingToDoWithoutTasks) {
  const Workers workers{.task = [](std::size_t) -> std::string { throw std::logic_error("none"); }};
  EXPECT_THAT(workers.carryOut(0), IsEmpty());
}

TEST(Workers, BringLongAndEmptyResultsWhole) {
  const auto results = Workers{.task = [](std::size_t task) {
                         return std::string(task * 5'000'000, static_cast<char>('a' + task));
                       }}.carryOut(3);
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(results[0].content, "");
  EXPECT_EQ(results[1].content, std::string(5'000'000, 'b'));
  EXPECT_EQ(results[2].content, std::string(10'000'000, 'c'));
}

TEST(Workers, TellWhyATaskFailed) {
  const auto results = Workers{.task = [](std::size_t task) -> std::string {
                         if (task == 1) throw std::runtime_error("the disk is full");
                         if (task == 2) throw std::runtime_error("");
                         return "done";
                       }}.carryOut(4);
  ASSERT_EQ(results.size(), 4U);
  EXPECT_EQ(results[0].content, "done");
  EXPECT_EQ(results[1].failure, "the disk is full");
  EXPECT_EQ(results[2].failure, "it failed");
  EXPECT_EQ(results[3].content, "done");
}

TEST(Workers, ThatDieAreTheirTasksFailuresAndNoOthers) {
  const auto results = Workers{.task = [](std::size_t task) -> std::string {
                         if (task % 10 == 3) raise(SIGKILL);
                         if (task % 10 == 7) _exit(5);
                         return "done";
                       }}.carryOut(50);
  ASSERT_EQ(results.size(), 50U);
  for (std::size_t task = 0; task < results.size(); ++task) {
    const auto& [content, failure] = results[task];
    if (task % 10 == 3) {
      EXPECT_EQ(failure, "its process was ended by signal 9") << task;
    } else if (task % 10 == 7) {
      EXPECT_EQ(failure, "its process ended with status 5") << task;
    } else {
      EXPECT_EQ(content, "done") << task;
    }
  }
}

TEST(Workers, TellHowFarTheyAre) {
  std::vector<std::size_t> told;
  Workers{.task = [](std::size_t) { return std::string(); },
          .progress = [&told](std::size_t done) { told.push_back(done); }}
      .carryOut(4);
  EXPECT_THAT(told, ElementsAre(1U, 2U, 3U, 4U));
}

TEST(Workers, HandOverEachResultAsItComes) {
  std::vector<std::size_t> heldBack;
  std::size_t taken = 0;
  Workers{.task = [](std::size_t task) { return std::to_string(task); },
          .progress =
              [&](std::size_t done) {
                if (taken != done) heldBack.push_back(done);
              }}
      .carryOut(10, [&](std::size_t task, const TaskResult& result) {
        EXPECT_EQ(result.content, std::to_string(task));
        ++taken;
      });
  EXPECT_EQ(taken, 10U);
  EXPECT_THAT(heldBack, IsEmpty());
}

TEST(Workers, GoOnWithThoseThatCanBeHad) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  // Enough for one, and not for another one beside it.
  const rlimit few{static_cast<rlim_t>(std::max(ends[0], ends[1])) + 1, before.rlim_max};
  close(ends[0]);
  close(ends[1]);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  std::size_t done = 0;
  std::string failure;
  try {
    Workers{.task = [](std::size_t) { return std::string("done"); }}.carryOut(
        5, [&done](std::size_t, const TaskResult& result) { done += result.content == "done"; });
  } catch (const PlatformException& error) {
    failure = error.what();
  }
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(failure, "");
  EXPECT_EQ(done, 5U);
}

TEST(Workers, LeaveNoProcessBehind) {
  Workers{.task = [](std::size_t task) -> std::string {
    if (task == 1) raise(SIGKILL);
    return "done";
  }}.carryOut(5);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace gatehall::ctl
