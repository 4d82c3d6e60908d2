#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "linux/files/FileDescriptor.h"
#include "linux/nss/NameServiceProcess.h"
#include "linux/records/NetworkNode.h"
#include "tests/Patience.h"
#include "tests/linux/nss/fixture/NameServiceMachine.h"

namespace gatehall {
namespace {

using nss::Asked;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

class NameServiceProcess : public testing::Test {
 protected:
  NameServiceMachine machine;

  nss::Answer ask(const nss::Question& question,
                  std::chrono::milliseconds limit = std::chrono::minutes(10)) const {
    return nss::askNameService(machine.options.nameService, question, limit);
  }

  /// Has something else answer, and expects that it is no answer, for that reason.
  void expectNone(const std::string& commands, const std::string& why) {
    machine.program(commands);
    EXPECT_THAT([&] { ask({}); }, ThrowsMessage<DirectoryUnreachable>(HasSubstr(why))) << commands;
  }
};

struct Rights {
  uid_t realUser;
  uid_t effectiveUser;
  gid_t realGroup;
  gid_t effectiveGroup;
};

/// Hands on to the next program of this process one supplementary group and that capability.
bool addRights(gid_t group, unsigned capability) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  if (setgroups(1, &group) != 0 || prctl(PR_SET_KEEPCAPS, 1) != 0 ||
      setresuid(1000, 1000, 1000) != 0) {
    return false;
  }
  const auto bit = std::uint32_t{1} << capability;
  sets[0] = {bit, bit, bit};
  return syscall(SYS_capset, &header, sets.data()) == 0 &&
         prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, capability, 0, 0) == 0;
}

/// Which users' and groups' rights the program has left when it has answered one question, by the
/// lines of proc(5) that begin so; started with such rights and that environment, and prepared.
Strings rightsLeftOf(
    const Rights& rights, const Strings& environment = {}, const Strings& lines = {"Uid:", "Gid:"},
    const std::function<bool()>& prepare = [] { return true; }) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return {};
  const FileDescriptor own(ends[0]);
  FileDescriptor others(ends[1]);
  std::vector<const char*> variables;
  for (const auto& each : environment) variables.push_back(each.c_str());
  variables.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    const std::array<const char*, 2> arguments{GATEHALL_NAMES_PROGRAM, nullptr};
    if (dup2(others.number(), STDIN_FILENO) == STDIN_FILENO && setgroups(0, nullptr) == 0 &&
        setresgid(rights.realGroup, rights.effectiveGroup, rights.effectiveGroup) == 0 &&
        setresuid(rights.realUser, rights.effectiveUser, rights.effectiveUser) == 0 && prepare()) {
      execve(arguments[0], const_cast<char**>(arguments.data()),
             const_cast<char**>(variables.data()));
    }
    _exit(1);
  }
  others = FileDescriptor();
  const auto question = written(nss::Question{Asked::UsersByName, {"root", "dana"}});
  send(own.number(), question.data(), question.size(), MSG_NOSIGNAL);
  for (char byte = 0; read(own.number(), &byte, 1) > 0;) {
  }
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT);
  Strings left;
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    const auto begins = [&](const auto& each) { return line.starts_with(each); };
    if (std::ranges::any_of(lines, begins)) left.push_back(line);
  }
  waitpid(process, nullptr, 0);
  if (ended.si_status != EXIT_SUCCESS) left.push_back("failed");
  return left;
}

}  // namespace

TEST_F(NameServiceProcess, GivesUpTheRightsOfAProgramThatAsksForOthers) {
  const auto annsOwn = ElementsAre("Uid:\t1000\t1000\t1000\t1000", "Gid:\t1000\t1000\t1000\t1000");
  EXPECT_THAT(rightsLeftOf({1000, 1000, 1000, 42}), annsOwn) << "a group's";
  EXPECT_THAT(rightsLeftOf({1000, 2000, 1000, 1000}), annsOwn) << "another user's";
  const auto nobodys =
      ElementsAre("Uid:\t65534\t65534\t65534\t65534", "Gid:\t65534\t65534\t65534\t65534");
  EXPECT_THAT(rightsLeftOf({1000, 0, 1000, 1000}), nobodys) << "root's";
  EXPECT_THAT(rightsLeftOf({0, 1000, 0, 1000}), nobodys) << "root's, put aside";
  EXPECT_THAT(rightsLeftOf({0, 0, 0, 0}), nobodys) << "root";
}

TEST_F(NameServiceProcess, GivesUpTheGroupsAndCapabilitiesThatAServiceHandsOn) {
  const Strings lines{"Groups:", "CapInh:", "CapPrm:", "CapEff:", "CapAmb:", "NoNewPrivs:"};
  constexpr const char* kNone = ":\t0000000000000000";
  const auto nothing = [&](std::string_view groups) {
    return ElementsAre(groups, std::string("CapInh") + kNone, std::string("CapPrm") + kNone,
                       std::string("CapEff") + kNone, std::string("CapAmb") + kNone,
                       "NoNewPrivs:\t1");
  };
  const auto left = [&](unsigned capability) {
    return rightsLeftOf({0, 0, 1000, 1000}, {}, lines, [&] { return addRights(42, capability); });
  };
  EXPECT_THAT(left(CAP_SETGID), nothing("Groups:\t "));
  EXPECT_THAT(left(CAP_NET_RAW), nothing("Groups:\t42 ")) << "which only the kernel could change";
}

TEST_F(NameServiceProcess, LoadsNothingThatTheCallerOfAProgramWithRightsNames) {
  const Strings environment{"LD_PRELOAD=" GATEHALL_NSS_STAND_IN " " GATEHALL_NSS_WRAPPER,
                            "NSS_WRAPPER_PASSWD=" + machine.path("/etc/passwd"),
                            "NSS_WRAPPER_GROUP=" + machine.path("/etc/group"),
                            "NSS_WRAPPER_MODULE_SO_PATH=" GATEHALL_NSS_STAND_IN,
                            "NSS_WRAPPER_MODULE_FN_PREFIX=standin",
                            "STAND_IN=" + machine.path("/service")};
  rightsLeftOf({1000, 1000, 1000, 1000}, environment);
  EXPECT_THAT(machine.asked(), testing::Not(testing::IsEmpty())) << "it is the caller's own";
  rightsLeftOf({1000, 1000, 1000, 42}, environment);
  EXPECT_THAT(machine.asked(), testing::IsEmpty());
}

TEST_F(NameServiceProcess, AnswersManyLookupsAtOnce) {
  const auto answer = ask({Asked::UsersByName, {"dana", "nobody-has-it", "ed"}});
  ASSERT_EQ(answer.users.size(), 2);
  EXPECT_EQ(answer.users[0].name, "dana");
  EXPECT_EQ(answer.users[1].userID, 20002U);
  EXPECT_EQ(ask({Asked::GroupsByID, {"20010"}}).groups.at(0).name, "staff");
}

TEST_F(NameServiceProcess, TellsAllGroupsOfSeveralUsers) {
  const auto answer = ask({Asked::GroupsOfUsers, {"dana", "20000", "ed", "20000"}});
  ASSERT_EQ(answer.groupIDs.size(), 2);
  EXPECT_THAT(answer.groupIDs[0], testing::UnorderedElementsAre(20000U, 20010U));
  EXPECT_THAT(answer.groupIDs[1], ElementsAre(20000U));
}

TEST_F(NameServiceProcess, TellsNoGroupsNotThePrimaryOneEitherOfWhomTheServiceHasNothingOf) {
  const nss::Question question{Asked::GroupsOfUsers, {"gone", "20000", "dana", "20000"}};
  EXPECT_THAT(ask(question).groupIDs,
              ElementsAre(testing::IsEmpty(), testing::UnorderedElementsAre(20000U, 20010U)));
  machine.serve("forgetful", "");
  EXPECT_THAT(ask(question).groupIDs, ElementsAre(testing::IsEmpty(), testing::IsEmpty()))
      << "forgotten in between";
}

TEST_F(NameServiceProcess, TakesNobodysGroupsFromAServiceThatOnlyRemembersTheUser) {
  machine.serve("memory", "dana:*:20001:20000::/home/dana:/bin/bash\n");
  machine.serve("away", "");
  EXPECT_EQ(ask({Asked::UsersByName, {"dana"}}).users.size(), 1);
  EXPECT_THROW(ask({Asked::GroupsOfUsers, {"dana", "20000"}}), DirectoryUnreachable);
  machine.stopServing("away");
  machine.serve("passwd", "");
  EXPECT_THAT(ask({Asked::GroupsOfUsers, {"dana", "20000"}}).groupIDs,
              ElementsAre(testing::IsEmpty()));
}

TEST_F(NameServiceProcess, HasRoomForAGroupOfManyMembers) {
  std::string members;
  for (int number = 0; number < 20000; ++number) {
    members += (number == 0 ? "user" : ",user") + std::to_string(number);
  }
  machine.serve("group", "large:*:20020:" + members + "\n");
  EXPECT_EQ(ask({Asked::GroupsByName, {"large"}}).groups.at(0).members.size(), 20000);
}

TEST_F(NameServiceProcess, HasNothingOfTheProcessThatAsks) {
  machine.program("env >" + machine.path("/env") + "\nls -l /proc/self/fd >" +
                  machine.path("/fds") + "\npwd >" + machine.path("/folder") + "\n");
  ASSERT_EQ(setenv("GATEHALL_TEST_SECRET", "secret", 1), 0);
  EXPECT_THROW(ask({}), DirectoryUnreachable);
  unsetenv("GATEHALL_TEST_SECRET");
  const auto content = [&](const char* file) {
    std::ifstream stream(machine.path(file));
    return std::string(std::istreambuf_iterator<char>(stream), {});
  };
  EXPECT_THAT(content("/env"), testing::Not(HasSubstr("GATEHALL")));
  EXPECT_EQ(content("/folder"), "/\n");
  EXPECT_THAT(content("/fds"), HasSubstr(" 0 -> socket:"));
  EXPECT_THAT(content("/fds"), HasSubstr(" 2 -> /dev/null"));
  EXPECT_THAT(content("/fds"), testing::Not(HasSubstr(" 4 -> ")));  // 3 is the folder that ls reads
}

TEST_F(NameServiceProcess, IsBelievedNothingThatIsCutShortOrTooLong) {
  expectNone("exit 0", "ended without an answer");
  expectNone("kill -9 $$", "ended without an answer");
  expectNone("printf 'ab' >&0", "ended without an answer");
  expectNone("printf '\\010\\000\\000\\000ab' >&0", "ended without an answer");
  expectNone("printf '\\377\\377\\377\\377' >&0; exec sleep 600", "it is too long");
  expectNone("printf '\\004\\000\\000\\000\\377\\377\\377\\377' >&0; exec sleep 600",
             "a text is too long");
  expectNone(
      "printf '\\010\\000\\000\\000\\000\\000\\000\\000\\377\\377\\377\\377' >&0"
      "; exec sleep 600",
      "it is cut short");
}

TEST_F(NameServiceProcess, IsEndedWhenItsTimeIsOver) {
  machine.program("echo $$ >" + machine.path("/pid") + "\nexec sleep 600\n");
  // On a busy machine the program may come to nothing before its time is over.
  pid_t process = 0;
  for (auto limit = std::chrono::seconds(1); process == 0; limit *= 2) {
    ASSERT_LT(limit, kPatience);
    EXPECT_THAT([&] { ask({}, limit); },
                ThrowsMessage<DirectoryUnreachable>(HasSubstr("does not answer in time")));
    std::ifstream(machine.path("/pid")) >> process;
  }
  EXPECT_NE(kill(process, 0), 0);
}

TEST_F(NameServiceProcess, IsMissedWhenItIsNotThere) {
  machine.options.nameService = "/nowhere/names";
  EXPECT_THAT([&] { ask({}); },
              ThrowsMessage<DirectoryUnreachable>(HasSubstr("No such file or directory")));
}

TEST_F(NameServiceProcess, SaysWhatTheServiceCanNotTell) {
  machine.serve("away", "");
  EXPECT_THAT(
      [&] {
        ask({Asked::UsersByName, {"dana"}});
      },
      ThrowsMessage<DirectoryUnreachable>("the user dana: Connection refused"));
  EXPECT_THROW(ask({Asked::GroupsOfUsers, {"dana", "20000"}}), DirectoryUnreachable);
  EXPECT_THROW(ask({Asked::AllUsers, {}}), DirectoryUnreachable);
}

TEST_F(NameServiceProcess, TakesNobodyFromAFolderWithTheHomesOfAServer) {
  for (int number = 0; number < 1001; ++number) {
    std::filesystem::create_directories(machine.path("/many/" + std::to_string(number)));
  }
  ASSERT_EQ(chown(machine.path("/many/7").c_str(), 20001, 20000), 0);
  EXPECT_TRUE(ask({Asked::UsersWithHome, {machine.path("/many")}}).users.empty());
  std::filesystem::remove(machine.path("/many/9"));
  EXPECT_EQ(ask({Asked::UsersWithHome, {machine.path("/many")}}).users.size(), 1);
}

}  // namespace gatehall
