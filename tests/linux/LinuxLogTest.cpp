#include <array>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include "linux/LinuxLog.h"
#include "tests/linux/OwnRun.h"

namespace gatehall {
namespace {

/// Listens where syslog(3) sends to, in a /dev of this process's own.
int listenAsSyslog() {
  mount("none", "/dev", "tmpfs", 0, nullptr);
  const int listening = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string("/dev/log").copy(address.sun_path, sizeof address.sun_path - 1);
  bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  return listening;
}

std::string received(int listening) {
  std::array<char, 4096> room{};
  const auto count = recv(listening, room.data(), room.size(), MSG_DONTWAIT);
  return count < 0 ? "nothing" : std::string(room.data(), static_cast<std::size_t>(count));
}

/// Ends the process with 0 when the message has the level, the program's name and the text.
void expectMessage(const std::string& message, int level, const std::string& text) {
  const auto start = '<' + std::to_string(LOG_USER | level) + '>';
  if (message.starts_with(start) && message.find(" gatehall-test[") != std::string::npos &&
      message.ends_with("]: " + text)) {
    return;
  }
  std::fprintf(stderr, "received: %s\n", message.c_str());
  std::exit(1);
}

TEST(LinuxLog, SendsTextsAsTheyStandUnderTheProgramsName) {
  if (!OwnRun::obstacle().empty()) GTEST_SKIP() << OwnRun::obstacle();
  EXPECT_EXIT(
      {
        unshare(CLONE_NEWNS);
        const int listening = listenAsSyslog();
        LinuxLog log("gatehall-test");
        log.error("100 %s %n");
        expectMessage(received(listening), LOG_ERR, "100 %s %n");
        log.diagnostic("Grüße");
        expectMessage(received(listening), LOG_WARNING, "Grüße");
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace gatehall
