#include "linux/ldap/client/Credentials.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <variant>
#include <vector>

#include "linux/files/FaultLog.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "linux/process/Monitor.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

constexpr std::size_t kLongestChain = 65536;

/// A file that only those can read who may know what is in it.
struct SecretFile {
  std::string_view what;
  MonitorQuestion question;
  std::size_t limit;  ///< bytes that it has fewer than
  const std::string& path;
};

SecretFile passwordFile(const std::string& path) {
  return {"password", MonitorQuestion::BindPassword, 1024, path};
}
SecretFile keyFile(const std::string& path) {
  return {"key", MonitorQuestion::ClientKey, 16384, path};
}

[[noreturn]] void fail(const SecretFile& file, const std::string& why) {
  throw DirectoryUnreachable("the " + std::string(file.what) + " file " + file.path +
                             " can't be used: " + why);
}

/// Where the file stands. Whatever is wrong with it is the directory's matter, never the machine's.
std::string placeOf(const HostOptions& options, const SecretFile& file) {
  try {
    return hostPath(options, file.path, Symlinks::Refuse);
  } catch (const PlatformException& failure) {
    fail(file, failure.what());
  }
}

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

std::unique_ptr<SecretText> readFile(const HostOptions& options, const SecretFile& file) {
  struct stat status {};
  int error = 0;
  const auto opened = openRegularFile(placeOf(options, file), Symlinks::Refuse, status, error);
  if (error != 0) fail(file, std::generic_category().message(error));
  if (const auto why = distrust(options, status); !why.empty()) fail(file, why);

  std::vector<char> room(file.limit);
  std::size_t size = 0;
  for (;;) {
    const auto count = read(opened.number(), room.data() + size, room.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    size += static_cast<std::size_t>(count);
  }
  auto text = std::make_unique<SecretText>(std::string_view(room.data(), size));
  explicit_bzero(room.data(), room.size());
  if (size == room.size()) fail(file, "it is too long");
  return text;
}

std::unique_ptr<SecretText> readPassword(const HostOptions& options, const SecretFile& file) {
  const auto content = readFile(options, file);
  auto line = content->view();
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (line.empty()) fail(file, "its first line is empty");
  return std::make_unique<SecretText>(line);
}

/// What the monitor answers, from the number on.
std::unique_ptr<SecretText> askMonitor(Monitor& monitor, const SecretFile& file,
                                       std::size_t number = 0) {
  MonitorMessage question;
  question.question = file.question;
  question.number = static_cast<std::uint32_t>(number);
  if (!question.setText(file.path)) fail(file, "its path is too long");
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
  return std::make_unique<SecretText>(*text);
}

std::unique_ptr<SecretText> askMonitorForKey(Monitor& monitor, const SecretFile& file) {
  std::vector<std::unique_ptr<SecretText>> parts;
  std::size_t size = 0;
  do {
    parts.push_back(askMonitor(monitor, file, size));
    size += parts.back()->view().size();
    if (size > file.limit) fail(file, "it is too long");
  } while (!parts.back()->view().empty());
  std::string whole;
  whole.reserve(size);  // growing, it would leave copies
  for (const auto& part : parts) whole += part->view();
  auto key = std::make_unique<SecretText>(whole);
  explicit_bzero(whole.data(), whole.size());
  return key;
}

std::string readChain(const HostOptions& options, const std::string& file) {
  std::string fault;
  try {
    auto chain = readOwnedFile(hostPath(options, file, Symlinks::Refuse),
                               {systemOwner(options), geteuid()}, kLongestChain, fault);
    if (chain) return std::move(*chain);
  } catch (const PlatformException& failure) {
    fault = failure.what();
  }
  throw DirectoryUnreachable("the certificate file " + file +
                             " can't be used: " + (fault.empty() ? "it isn't there" : fault));
}

/// The program reads the settings, too, and reports what is wrong with them.
class NoLog final : public Log {
 public:
  void error(std::string_view) override {}
  void diagnostic(std::string_view) override {}
};

bool isNamed(const HostOptions& options, const SecretFile& file) {
  NoLog log;
  FaultLog faults(log);
  const bool isKey = file.question == MonitorQuestion::ClientKey;
  return std::ranges::any_of(Settings::readAll(options, faults), [&](const auto& directory) {
    const auto* settings = std::get_if<Settings>(&directory);
    return settings != nullptr &&
           (isKey ? settings->keyFile : settings->bindPasswordFile) == file.path;
  });
}

/// As much as an answer holds.
std::unique_ptr<SecretText> readPart(const HostOptions& options, const SecretFile& file,
                                     std::size_t begin) {
  const auto key = readFile(options, file);
  const auto text = key->view().substr(std::min(begin, key->view().size()));
  return std::make_unique<SecretText>(text.substr(0, MonitorMessage().text.size() - 1));
}

}  // namespace

std::unique_ptr<SecretText> readPasswordFile(const HostOptions& options, const std::string& file) {
  const auto named = passwordFile(file);
  auto* monitor = Monitor::ofProcess();
  if (monitor == nullptr) return readPassword(options, named);
  auto password = askMonitor(*monitor, named);
  if (password->view().empty()) fail(named, "its first line is empty");
  return password;
}

std::unique_ptr<ClientCertificate> readClientCertificate(const HostOptions& options,
                                                         const Settings& settings) {
  if (settings.certificateFile.empty()) return nullptr;
  auto certificate = std::make_unique<ClientCertificate>();
  certificate->chain = readChain(options, settings.certificateFile);
  const auto file = keyFile(settings.keyFile);
  auto* monitor = Monitor::ofProcess();
  certificate->key =
      monitor == nullptr ? readFile(options, file) : askMonitorForKey(*monitor, file);
  return certificate;
}

void answerAboutCredentials(const HostOptions& options, const MonitorMessage& question,
                            MonitorMessage& answer) {
  answer.question = question.question;
  answer.answer = MonitorAnswer::Untold;
  const std::string path(question.textValue().value_or(""));
  const bool isKey = question.question == MonitorQuestion::ClientKey;
  const auto file = isKey ? keyFile(path) : passwordFile(path);
  try {
    if (path.empty() || !isNamed(options, file)) {
      answer.setText("no directory names it");
      return;
    }
    const auto text =
        isKey ? readPart(options, file, question.number) : readPassword(options, file);
    if (answer.setText(text->view())) answer.answer = MonitorAnswer::Told;
  } catch (const PlatformException& failure) {
    answer.setText(printable(failure.what(), 200));
  }
}

}  // namespace gatehall::ldap
