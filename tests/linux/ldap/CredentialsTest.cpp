#include <array>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "linux/ldap/client/Credentials.h"
#include "linux/process/Monitor.h"
#include "linux/records/NetworkNode.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

namespace gatehall {
namespace {

using testing::EndsWith;

constexpr const char* kKey = "/etc/gatehall/host.key";
constexpr const char* kPassword = "/etc/gatehall/password";

/// Of the machine that monitors read.
HostOptions monitored;

void answerForMonitored(const MonitorMessage& question, MonitorMessage& answer) {
  ldap::answerAboutCredentials(monitored, question, answer);
}

/// A directory with a password and a key.
class LdapCredentials : public testing::Test {
 protected:
  LdapCredentials() {
    machine.configure(LdapMachine::table("test", LdapMachine::quoted("ldaps://127.0.0.1:1"),
                                         machine.asManager() +
                                             "certificate = \"/etc/gatehall/host.pem\"\nkey = \"" +
                                             std::string(kKey) + "\"\n"));
    machine.write("/etc/gatehall/host.pem", "a certificate");
    writeKey("its key");
    monitored = machine.options;
  }

  void writeKey(const std::string& key) const {
    machine.write(kKey, key);
    ASSERT_EQ(chmod(machine.path(kKey).c_str(), 0600), 0);
  }

  static MonitorMessage answerTo(MonitorQuestion kind, std::string_view file) {
    MonitorMessage question;
    question.question = kind;
    EXPECT_TRUE(question.setText(file));
    MonitorMessage told;
    answerForMonitored(question, told);
    return told;
  }

  /// The key as a process of another group than its monitor's reads it, or why it can't.
  std::string keyByMonitor() const {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const auto child = fork();
    if (child == 0) {
      const auto text = setresgid(0, 42, 42) == 0 && Monitor::begin(answerForMonitored) &&
                                Monitor::ofProcess() != nullptr
                            ? readKey()
                            : "no monitor";
      // A pipe holds more than the longest key.
      const bool isWritten = write(ends[1], text.data(), text.size()) == std::ssize(text);
      if (Monitor::ofProcess() != nullptr) Monitor::ofProcess()->end();
      _exit(isWritten ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    std::array<char, 4096> room{};
    for (ssize_t count = 0; (count = read(ends[0], room.data(), room.size())) > 0;) {
      text.append(room.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    return text;
  }

  LdapMachine machine;

 private:
  std::string readKey() const {
    ldap::Settings settings;
    settings.certificateFile = "/etc/gatehall/host.pem";
    settings.keyFile = kKey;
    try {
      return std::string(ldap::readClientCertificate(machine.options, settings)->key->view());
    } catch (const DirectoryUnreachable& failure) {
      return failure.what();
    }
  }
};

/// So many characters, no two parts of which are alike.
std::string keyOf(std::size_t size) {
  std::string key;
  for (int line = 0; key.size() < size; ++line) key += std::to_string(line) + "\n";
  key.resize(size);
  return key;
}

}  // namespace

TEST_F(LdapCredentials, OfAnyLengthThatAKeyMayHaveComeWholeFromTheMonitor) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can have a monitor with another group.";
  for (const std::size_t size : {1U, 1022U, 1023U, 1024U, 2046U, 16383U}) {
    writeKey(keyOf(size));
    EXPECT_EQ(keyByMonitor(), keyOf(size)) << size;
  }
  writeKey(keyOf(16384));
  EXPECT_THAT(keyByMonitor(), EndsWith("it is too long"));
}

TEST_F(LdapCredentials, OfAKeyThatOthersCanReadDontComeFromTheMonitor) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can have a monitor with another group.";
  ASSERT_EQ(chmod(machine.path(kKey).c_str(), 0644), 0);
  EXPECT_THAT(keyByMonitor(), EndsWith("others than its owner can read it"));
}

TEST_F(LdapCredentials, AreAnsweredAsWhatTheyAreNamedFor) {
  const auto key = answerTo(MonitorQuestion::ClientKey, kKey);
  EXPECT_EQ(key.answer, MonitorAnswer::Told);
  EXPECT_EQ(key.textValue(), "its key");
  const auto password = answerTo(MonitorQuestion::BindPassword, kPassword);
  EXPECT_EQ(password.answer, MonitorAnswer::Told);
  EXPECT_EQ(password.textValue(), kManagersPassword);
  for (const auto& other : {answerTo(MonitorQuestion::ClientKey, kPassword),
                            answerTo(MonitorQuestion::BindPassword, kKey),
                            answerTo(MonitorQuestion::ClientKey, "/etc/shadow"),
                            answerTo(MonitorQuestion::ClientKey, "")}) {
    EXPECT_EQ(other.answer, MonitorAnswer::Untold);
    EXPECT_EQ(other.textValue(), "no directory names it");
  }
}

}  // namespace gatehall
