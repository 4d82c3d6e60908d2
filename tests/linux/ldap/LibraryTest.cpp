#include <arpa/inet.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include "linux/ldap/client/Library.h"
#include "tests/Patience.h"
#include "tests/linux/OwnRun.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

namespace gatehall {
namespace {

/// A name server on loopback, of this process alone, that never answers.
std::string muteNameServer() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(53);
  address.sin_addr.s_addr =
      htonl(0x7F000000U | (static_cast<unsigned>(getpid()) & 0x3FFFFFU) << 1U);
  char heard = 0;
  const int listening = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      sendto(listening, "?", 1, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
          1 ||
      recv(listening, &heard, 1, MSG_DONTWAIT) != 1) {
    std::perror("a name server on loopback");
    std::exit(2);
  }
  return inet_ntoa(address.sin_addr);
}

/// Has this process see the text in that file of /etc.
void bindOver(const std::string& file, const std::string& text) {
  const auto folder = std::filesystem::temp_directory_path();
  auto name = (folder / "gatehall-XXXXXX").string();
  close(mkstemp(name.data()));
  std::ofstream(name) << text;
  if (mount(name.c_str(), file.c_str(), nullptr, MS_BIND, nullptr) != 0) {
    std::perror(file.c_str());
    std::exit(2);
  }
  std::filesystem::remove(name);
}

/// This machine has a name that stands in no file, and a name server that never answers.
void forgetOwnName() {
  if (unshare(CLONE_NEWNS | CLONE_NEWUTS) != 0 || sethostname("stranger", 8) != 0) std::exit(2);
  bindOver("/etc/nsswitch.conf", "hosts: files dns\n");
  bindOver("/etc/hosts", "127.0.0.1 localhost\n");
  bindOver("/etc/resolv.conf",
           "nameserver " + muteNameServer() + "\noptions timeout:30 attempts:5\n");
}

TEST(LdapLibrary, ReadsNoFileOfTheWorkingFolder) {
  // In a process that has not started the library yet.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const Folder folder;
        folder.write("/ldaprc", "SIZELIMIT 7\n");
        unsetenv("LDAPNOINIT");
        if (chdir(folder.path().c_str()) != 0) std::exit(2);
        int limit = -1;
        ldap::Library::get().get_option(nullptr, LDAP_OPT_SIZELIMIT, &limit);
        std::fprintf(stderr, "limit %d\n", limit);
        std::exit(limit == 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "limit 0");
  GTEST_FLAG_SET(death_test_style, "fast");
}

TEST(LdapLibrary, WaitsForNoNameServerToStart) {
  if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
  // In a process that has not started the library yet.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        forgetOwnName();
        const Stopwatch watch;
        int version = 0;
        ldap::Library::get().get_option(nullptr, LDAP_OPT_PROTOCOL_VERSION, &version);
        const double seconds = watch.seconds();
        std::fprintf(stderr, "started after %.3f s\n", seconds);
        // A look-up gives up after two and a half minutes.
        std::exit(seconds < kPatience.count() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "started");
  GTEST_FLAG_SET(death_test_style, "fast");
}

TEST(LdapLibrary, IsUsedWhereItKeepsTheNameOfThisMachineElsewhere) {
  EXPECT_FALSE(ldap::forgetOwnName(LazyLibrary("libm.so.6", "libc6")));
  EXPECT_TRUE(ldap::Library::get().takesLocalhostAsItStands);
}

}  // namespace
}  // namespace gatehall
