#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"
#include "linux/process/Monitor.h"
#include "tests/Patience.h"

namespace gatehall {
namespace {

using testing::HasSubstr;

/// What a test asks for stands in the number.
enum Asked : std::uint32_t { Number, Raise, Shorten, Restrictions, OpenDescriptors };

std::uint32_t restrictions() {
  rlimit processes{1, 1};
  rlimit files{1, 1};
  getrlimit(RLIMIT_NPROC, &processes);
  getrlimit(RLIMIT_FSIZE, &files);
  const bool hasAll = prctl(PR_GET_DUMPABLE) == 0 && prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1 &&
                      processes.rlim_max == 0 && files.rlim_max == 0;
  return hasAll ? 1 : 0;
}

std::uint32_t openDescriptors() {
  std::uint32_t count = 0;
  for (int descriptor = 0; descriptor < 4096; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) ++count;
  }
  return count;
}

void answerTest(const MonitorMessage& question, MonitorMessage& answer) {
  answer = question;
  switch (static_cast<Asked>(question.number)) {
    case Number:
      answer.number = 4711;
      return;
    case Raise:
      throw std::runtime_error("refused");
    case Shorten:
      // The socket is the child's only descriptor.
      send(0, "short", 5, 0);
      return;
    case Restrictions:
      answer.number = restrictions();
      return;
    case OpenDescriptors:
      answer.number = openDescriptors();
      return;
  }
}

MonitorMessage questionFor(Asked asked) {
  MonitorMessage question;
  question.number = asked;
  return question;
}

std::string failureOf(Monitor& monitor, Asked asked = Number) {
  try {
    monitor.ask(questionFor(asked));
  } catch (const PlatformException& failure) {
    return failure.what();
  }
  return "answered";
}

/// Waits for the process to end, which need not be a child.
bool ends(int process) {
  pollfd waited{process, POLLIN, 0};
  return poll(&waited, 1, kPatienceMilliseconds) == 1;
}

int openProcess(pid_t process) { return static_cast<int>(syscall(SYS_pidfd_open, process, 0)); }

TEST(Monitor, AnswersOneQuestionAfterAnother) {
  Monitor monitor(answerTest, kPatience);
  for (int question = 0; question < 3; ++question) {
    EXPECT_EQ(monitor.ask(questionFor(Number)).number, 4711U);
  }
}

TEST(Monitor, HoldsNothingOpenButItsSocket) {
  const int kept = open("/dev/null", O_RDONLY | O_CLOEXEC);
  Monitor monitor(answerTest, kPatience);
  EXPECT_EQ(monitor.ask(questionFor(OpenDescriptors)).number, 1U);
  close(kept);
}

TEST(Monitor, CanNeitherBeTracedNorGainRightsNorStartOrWriteAnything) {
  Monitor monitor(answerTest, kPatience);
  EXPECT_EQ(monitor.ask(questionFor(Restrictions)).number, 1U);
}

TEST(Monitor, IsNotBelievedWhenItIsKilledStoppedOrCutShort) {
  Monitor killed(answerTest, kPatience);
  kill(killed.child(), SIGKILL);
  EXPECT_THAT(failureOf(killed), HasSubstr("The passwords' process does not answer"));

  Monitor stopped(answerTest, std::chrono::milliseconds(50));
  const auto process = stopped.child();
  kill(process, SIGSTOP);
  EXPECT_THAT(failureOf(stopped), HasSubstr("it takes too long"));

  Monitor raising(answerTest, kPatience);
  EXPECT_THAT(failureOf(raising, Raise), HasSubstr("it has ended"));

  Monitor shortened(answerTest, kPatience);
  EXPECT_THAT(failureOf(shortened, Shorten), HasSubstr("its answer is cut short"));
}

TEST(Monitor, IsAskedNoMoreOnceItFailedOrWasEnded) {
  Monitor failed(answerTest, kPatience);
  failureOf(failed, Shorten);
  EXPECT_THAT(failureOf(failed), HasSubstr("it has ended"));

  Monitor ended(answerTest, kPatience);
  const int process = openProcess(ended.child());
  ended.end();
  EXPECT_TRUE(ends(process));
  EXPECT_THAT(failureOf(ended), HasSubstr("it has ended"));
  close(process);
}

TEST(Monitor, AnswersWhenItWasStoppedForAMoment) {
  Monitor monitor(answerTest, kPatience);
  kill(monitor.child(), SIGSTOP);
  int status = 0;
  waitpid(monitor.child(), &status, WUNTRACED);
  ASSERT_TRUE(WIFSTOPPED(status));
  kill(monitor.child(), SIGCONT);
  EXPECT_EQ(monitor.ask(questionFor(Number)).number, 4711U);
}

TEST(Monitor, EndsWithItsProgramAlsoWhenItIsStopped) {
  for (const bool isStopped : {false, true}) {
    std::array<int, 2> told{};
    std::array<int, 2> end{};
    ASSERT_EQ(pipe2(told.data(), O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(end.data(), O_CLOEXEC), 0);
    const pid_t program = fork();
    if (program == 0) {
      Monitor monitor(answerTest);
      monitor.ask(questionFor(Number));
      const pid_t child = monitor.child();
      if (isStopped) kill(child, SIGSTOP);
      char ignored = 0;
      if (write(told[1], &child, sizeof child) < 0 || read(end[0], &ignored, 1) < 0) _exit(1);
      _exit(0);
    }
    pid_t child = 0;
    ASSERT_EQ(read(told[0], &child, sizeof child), ssize_t{sizeof child});
    const int process = openProcess(child);
    ASSERT_GE(process, 0);
    EXPECT_EQ(write(end[1], "", 1), 1);
    waitpid(program, nullptr, 0);
    EXPECT_TRUE(ends(process));
    for (const int each : {told[0], told[1], end[0], end[1], process}) close(each);
  }
}

TEST(Monitor, IsNotThereInAProcessWithoutAGroupToGiveUp) {
  EXPECT_TRUE(Monitor::begin(answerTest));
  EXPECT_EQ(Monitor::ofProcess(), nullptr);
}

TEST(MonitorMessages, HoldOnlyTextsThatFitAndHaveAnEnd) {
  MonitorMessage message;
  EXPECT_TRUE(message.setText("ann"));
  EXPECT_EQ(message.textValue(), "ann");
  EXPECT_FALSE(message.setText(std::string(message.text.size(), 'x')));
  EXPECT_TRUE(message.setText(std::string(message.text.size() - 1, 'x')));
  EXPECT_FALSE(message.setText(std::string_view("a\0b", 3)));
  message.text.fill('x');
  EXPECT_EQ(message.textValue(), std::nullopt);
}

}  // namespace
}  // namespace gatehall
