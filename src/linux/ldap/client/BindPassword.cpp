#include "linux/ldap/client/BindPassword.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <variant>

#include "linux/files/FaultLog.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "linux/ldap/client/Settings.h"
#include "linux/process/Monitor.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

std::string distrust(const HostOptions& options, const struct stat& status) {
  if (status.st_uid != systemOwner(options) && status.st_uid != geteuid()) {
    return "it belongs to user " + std::to_string(status.st_uid);
  }
  if ((status.st_mode & (S_IRWXO | S_IWGRP)) != 0) return "others than its owner can read it";
  struct stat shadow {};
  const bool isGroups = (status.st_mode & S_IRWXG) != 0;
  if (isGroups && (stat(hostPath(options, "/etc/shadow").c_str(), &shadow) != 0 ||
                   shadow.st_gid != status.st_gid)) {
    return "its group can read it";
  }
  return {};
}

[[noreturn]] void fail(const std::string& file, const std::string& why) {
  throw DirectoryUnreachable("the password file " + file + " can't be used: " + why);
}

std::unique_ptr<SecretText> readFile(const HostOptions& options, const std::string& file) {
  struct stat status {};
  int error = 0;
  const auto opened =
      openRegularFile(hostPath(options, file, Symlinks::Refuse), Symlinks::Refuse, status, error);
  if (error != 0) fail(file, std::generic_category().message(error));
  if (const auto why = distrust(options, status); !why.empty()) fail(file, why);

  std::array<char, 1024> room{};
  std::size_t size = 0;
  for (;;) {
    const auto count = read(opened.number(), room.data() + size, room.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    size += static_cast<std::size_t>(count);
  }
  std::string_view line(room.data(), size);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  auto password = std::make_unique<SecretText>(line);
  explicit_bzero(room.data(), room.size());
  if (size == room.size()) fail(file, "it is too long");
  if (password->view().empty()) fail(file, "its first line is empty");
  return password;
}

std::unique_ptr<SecretText> readThroughMonitor(Monitor& monitor, const std::string& file) {
  MonitorMessage question;
  question.question = MonitorQuestion::BindPassword;
  if (!question.setText(file)) fail(file, "its path is too long");
  MonitorMessage answer;
  try {
    answer = monitor.ask(question);
  } catch (const PlatformException& failure) {
    fail(file, failure.what());
  }
  const auto text = answer.textValue();
  if (answer.question != question.question || answer.answer != MonitorAnswer::Told || !text) {
    fail(file, printable(text.value_or("no reason"), 200));
  }
  auto password = std::make_unique<SecretText>(*text);
  if (password->view().empty()) fail(file, "its first line is empty");
  return password;
}

bool isNamed(const HostOptions& options, FaultLog& faults, std::string_view file) {
  return std::ranges::any_of(Settings::readAll(options, faults), [&](const auto& directory) {
    const auto* settings = std::get_if<Settings>(&directory);
    return settings != nullptr && settings->bindPasswordFile == file;
  });
}

/// The program reads the settings, too, and reports what is wrong with them.
class NoLog final : public Log {
 public:
  void error(std::string_view) override {}
  void diagnostic(std::string_view) override {}
};

}  // namespace

std::unique_ptr<SecretText> readPasswordFile(const HostOptions& options, const std::string& file) {
  auto* monitor = Monitor::ofProcess();
  return monitor == nullptr ? readFile(options, file) : readThroughMonitor(*monitor, file);
}

void answerAboutBindPassword(const MonitorMessage& question, MonitorMessage& answer) {
  answer.question = question.question;
  answer.answer = MonitorAnswer::Untold;
  const HostOptions options;
  NoLog log;
  FaultLog faults(log);
  const std::string file(question.textValue().value_or(""));
  try {
    if (!isNamed(options, faults, file)) {
      answer.setText("no directory names it");
      return;
    }
    const auto password = readFile(options, file);
    if (answer.setText(password->view())) answer.answer = MonitorAnswer::Told;
  } catch (const PlatformException& failure) {
    answer.setText(printable(failure.what(), 200));
  }
}

}  // namespace gatehall::ldap
