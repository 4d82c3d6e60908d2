#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <security/pam_appl.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Strings = std::vector<std::string>;

/// What the person was told, each with the kind of message.
int converse(int count, const pam_message** messages, pam_response** responses, void* told) {
  for (int index = 0; index < count; ++index) {
    const auto* message = messages[index];
    static_cast<Strings*>(told)->push_back((message->msg_style == PAM_TEXT_INFO ? "" : "error: ") +
                                           std::string(message->msg));
  }
  *responses = static_cast<pam_response*>(
      std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  return PAM_SUCCESS;
}

struct Outcome {
  int status = PAM_ABORT;
  Strings told;
};

/// A folder with the services of a test: each has the module in front of one that permits.
class Module : public testing::Test {
 protected:
  Module() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-pam-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    mFolder = name;
    for (const auto* service : {"login", "sshd", "sudo"}) write(service, "");
  }
  ~Module() override { std::filesystem::remove_all(mFolder); }

  void write(const std::string& service, const std::string& arguments) const {
    std::ofstream(mFolder / service) << "account required " GATEHALL_PAM_MODULE " " << arguments
                                     << "\naccount required pam_permit.so\n";
  }

  Outcome ask(const std::string& service, const std::string& user, int flags = 0,
              const char* remoteHost = nullptr) const {
    Outcome outcome;
    const pam_conv conversation{converse, &outcome.told};
    pam_handle_t* handle = nullptr;
    if (pam_start_confdir(service.c_str(), user.c_str(), &conversation, mFolder.c_str(), &handle) !=
        PAM_SUCCESS) {
      return outcome;
    }
    if (remoteHost != nullptr) pam_set_item(handle, PAM_RHOST, remoteHost);
    outcome.status = pam_acct_mgmt(handle, flags);
    pam_end(handle, outcome.status);
    return outcome;
  }

  std::filesystem::path mFolder;
};

std::size_t entries(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// Runs it in a child of the test's; whether it held there.
template <class Condition>
bool holdsInChild(Condition condition) {
  const auto child = fork();
  if (child == 0) _exit(condition() ? 0 : 1);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(Module, LetsInWhomTheProgramAdmitsWithoutAWord) {
  const auto outcome = ask("sshd", "admitted");
  EXPECT_EQ(outcome.status, PAM_SUCCESS);
  EXPECT_THAT(outcome.told, IsEmpty());
}

TEST_F(Module, TellsWhoIsRefusedWhyUnlessItIsToBeSilent) {
  auto outcome = ask("sshd", "refused");
  EXPECT_EQ(outcome.status, PAM_PERM_DENIED);
  EXPECT_THAT(outcome.told, ElementsAre("Not you."));
  outcome = ask("sshd", "refused", static_cast<int>(PAM_SILENT));
  EXPECT_EQ(outcome.status, PAM_PERM_DENIED);
  EXPECT_THAT(outcome.told, IsEmpty());
}

TEST_F(Module, KnowsWhomNobodyKnows) { EXPECT_EQ(ask("sshd", "unknown").status, PAM_USER_UNKNOWN); }

TEST_F(Module, RefusesInDoubtUnlessItIsToAdmit) {
  const auto outcome = ask("sshd", "undecidable");
  EXPECT_EQ(outcome.status, PAM_PERM_DENIED);
  EXPECT_THAT(outcome.told, ElementsAre("Who knows."));
  write("sshd", "on-undecidable=admit");
  EXPECT_EQ(ask("sshd", "undecidable").status, PAM_SUCCESS);
  EXPECT_THAT(ask("sshd", "undecidable").told, IsEmpty());
  EXPECT_EQ(ask("sshd", "refused").status, PAM_PERM_DENIED);
}

TEST_F(Module, StandsAsideAtServicesThatItDoesNotGuard) {
  EXPECT_EQ(ask("sudo", "refused").status, PAM_SUCCESS);
  write("sshd", "services=login,sudo");
  EXPECT_EQ(ask("sshd", "refused").status, PAM_SUCCESS);
  write("sudo", "services=login,sudo");
  EXPECT_EQ(ask("sudo", "refused").status, PAM_PERM_DENIED);
}

TEST_F(Module, TellsTheProgramWhatItNeedsToKnow) {
  write("login", "hours=yes");
  EXPECT_THAT(ask("login", "asked").told, ElementsAre("login, local, hours, , "));
  EXPECT_THAT(ask("login", "asked", 0, "elsewhere").told, ElementsAre("login, remote, hours, , "));
  EXPECT_THAT(ask("sshd", "asked").told, ElementsAre("sshd, remote, , "));
  write("sshd", "on-undecidable=admit");
  EXPECT_THAT(ask("sshd", "asked").told, ElementsAre("sshd, remote, doubt admits, , "));
  write("sshd", "on-undecidable=admit hours=often");
  EXPECT_THAT(ask("sshd", "asked").told,
              ElementsAre(R"(sshd, remote, , "hours=often" is neither "yes" nor "no")"));
}

TEST_F(Module, RefusesWhoeverTheProgramGivesNoProperAnswerAbout) {
  for (const auto* user : {"brief", "odd", "endless", "long", "silent"}) {
    const auto outcome = ask("sshd", user);
    EXPECT_EQ(outcome.status, PAM_PERM_DENIED) << user;
    EXPECT_THAT(outcome.told, ElementsAre(HasSubstr("can't be told now"))) << user;
  }
  EXPECT_EQ(ask("sshd", std::string(300, 'x')).status, PAM_PERM_DENIED);
  write("sshd", "on-undecidable=admit");
  EXPECT_EQ(ask("sshd", "silent").status, PAM_PERM_DENIED) << "which limits could bring about";
}

TEST_F(Module, LetsRootInAtALocalDoorWithoutAnAnswer) {
  EXPECT_EQ(ask("login", "root").status, PAM_SUCCESS);
  EXPECT_EQ(ask("login", "root", 0, "elsewhere").status, PAM_PERM_DENIED);
  EXPECT_EQ(ask("sshd", "root").status, PAM_PERM_DENIED);
}

TEST_F(Module, GivesTheProgramNothingOfTheProcess) {
  const int open = ::open("/dev/null", O_RDONLY);
  EXPECT_THAT(ask("sshd", "surroundings").told,
              ElementsAre("3 descriptors, no environment, at /, a session of its own"));
  close(open);
}

TEST_F(Module, LeavesNothingBehindInTheProcess) {
  ask("sshd", "admitted");  // what PAM itself keeps
  static std::atomic<int> ended{0};
  struct sigaction before {};
  struct sigaction counting {};
  counting.sa_handler = [](int) { ++ended; };
  sigaction(SIGCHLD, &counting, &before);
  sigset_t blockedBefore;
  sigset_t blockedAfter;
  pthread_sigmask(SIG_SETMASK, nullptr, &blockedBefore);
  const auto descriptors = entries("/proc/self/fd");
  const auto threads = entries("/proc/self/task");
  const std::string locale = std::setlocale(LC_ALL, nullptr);
  const auto folder = std::filesystem::current_path();
  for (const auto* user : {"admitted", "refused", "brief", "silent", "undecidable"}) {
    ask("sshd", user);
  }
  EXPECT_EQ(entries("/proc/self/fd"), descriptors);
  EXPECT_EQ(entries("/proc/self/task"), threads);
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
  EXPECT_EQ(std::filesystem::current_path(), folder);
  EXPECT_EQ(waitpid(-1, nullptr, __WALL), -1) << "a child is left";
  EXPECT_EQ(ended, 0) << "somebody was told of a child's end";
  pthread_sigmask(SIG_SETMASK, nullptr, &blockedAfter);
  for (int signal = 1; signal < NSIG; ++signal) {
    EXPECT_EQ(sigismember(&blockedBefore, signal), sigismember(&blockedAfter, signal)) << signal;
  }
  struct sigaction after {};
  sigaction(SIGCHLD, &before, &after);
  EXPECT_EQ(after.sa_handler, counting.sa_handler);
}

TEST_F(Module, LeavesErrorsAndCancellationToTheProcess) {
  const auto call = reinterpret_cast<int (*)(pam_handle_t*, int, int, const char**)>(
      dlsym(dlopen(GATEHALL_PAM_MODULE, RTLD_NOW), "pam_sm_acct_mgmt"));
  ASSERT_NE(call, nullptr);
  Strings told;
  const pam_conv conversation{converse, &told};
  pam_handle_t* handle = nullptr;
  ASSERT_EQ(pam_start_confdir("sshd", "silent", &conversation, mFolder.c_str(), &handle),
            PAM_SUCCESS);
  errno = EDOM;
  EXPECT_EQ(call(handle, 0, 0, nullptr), PAM_PERM_DENIED);
  EXPECT_EQ(errno, EDOM);

  std::atomic<bool> hasReturned{false};
  std::thread cancelled([&] {
    pthread_cancel(pthread_self());
    call(handle, 0, 0, nullptr);
    hasReturned = true;
  });
  cancelled.join();
  EXPECT_TRUE(hasReturned) << "it was cancelled while it had a socket";
  pam_end(handle, PAM_SUCCESS);
}

TEST_F(Module, AsksInTheLanguageOfTheServiceOrOfItsEnvironmentOrOfTheTerminal) {
  const auto language = [&](const char* variable, const char* terminal) {
    Strings told;
    const pam_conv conversation{converse, &told};
    pam_handle_t* handle = nullptr;
    pam_start_confdir("sshd", "asked", &conversation, mFolder.c_str(), &handle);
    if (variable != nullptr) pam_putenv(handle, variable);
    if (terminal != nullptr) pam_set_item(handle, PAM_TTY, terminal);
    pam_end(handle, pam_acct_mgmt(handle, 0));
    return told.empty() ? std::string() : told.front();
  };
  EXPECT_EQ(language(nullptr, nullptr), "sshd, remote, , ");
  EXPECT_EQ(language("LANG=fr_FR.UTF-8", nullptr), "sshd, remote, fr_FR.UTF-8, ");
  EXPECT_EQ(language("LANG=fr_FR.UTF-8", "tty2"), "sshd, remote, fr_FR.UTF-8, ");
  EXPECT_EQ(language(nullptr, "/dev/tty2"), "sshd, remote, C, ");
  EXPECT_EQ(language(nullptr, "tty"), "sshd, remote, , ");
  EXPECT_EQ(language(nullptr, "ttyS0"), "sshd, remote, , ");
  EXPECT_EQ(language(nullptr, ":0"), "sshd, remote, , ");
  ASSERT_NE(std::setlocale(LC_MESSAGES, "C.UTF-8"), nullptr);
  EXPECT_EQ(language("LANG=fr_FR.UTF-8", "tty2"), "sshd, remote, C.UTF-8, ");
  std::setlocale(LC_MESSAGES, "C");
}

TEST_F(Module, AnswersManyThreadsAtOnce) {
  std::atomic<int> wrong{0};
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      for (int time = 0; time < 10; ++time) {
        const bool isAdmitted = (thread + time) % 2 == 0;
        const auto outcome = ask("sshd", isAdmitted ? "admitted" : "refused");
        if (outcome.status != (isAdmitted ? PAM_SUCCESS : PAM_PERM_DENIED)) ++wrong;
      }
    });
  }
  threads.clear();
  EXPECT_EQ(wrong, 0);
}

TEST_F(Module, AnswersAfterAForkAndWithoutStandardDescriptors) {
  EXPECT_TRUE(holdsInChild([&] {
    for (int descriptor = 0; descriptor < 3; ++descriptor) close(descriptor);
    return ask("sshd", "admitted").status == PAM_SUCCESS &&
           ask("sshd", "refused").status == PAM_PERM_DENIED;
  }));
}

TEST_F(Module, AnswersAProcessThatIgnoresOrBlocksSignals) {
  EXPECT_TRUE(holdsInChild([&] {
    signal(SIGCHLD, SIG_IGN);
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    return ask("sshd", "admitted").status == PAM_SUCCESS;
  }));
}

TEST_F(Module, RefusesWithoutDescriptorsAndDoesNotCrash) {
  EXPECT_TRUE(holdsInChild([&] {
    Strings told;
    const pam_conv conversation{converse, &told};
    pam_handle_t* handle = nullptr;
    pam_start_confdir("sshd", "admitted", &conversation, mFolder.c_str(), &handle);
    pam_acct_mgmt(handle, 0);  // maps the module
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    // PAM's own record for the audit needs one, too, and fails in its own way.
    const bool isRefused = pam_acct_mgmt(handle, 0) != PAM_SUCCESS;
    return isRefused && told == Strings{
                                    "It can't be told now whether you may log in on "
                                    "this computer."};
  }));
}

}  // namespace
