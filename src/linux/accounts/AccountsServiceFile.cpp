#include "linux/accounts/AccountsServiceFile.h"

#include <dirent.h>
#include <memory>
#include <optional>
#include <unistd.h>

#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"

namespace gatehall {

namespace {

constexpr std::string_view kUsers = "/var/lib/AccountsService/users";
constexpr std::string_view kIcons = "/var/lib/AccountsService/icons";
constexpr std::size_t kLargestFile = 65536;

/// A name that stays inside a folder when it's put behind it.
bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.size() <= 255 &&
         name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

std::string under(const HostOptions& options, std::string_view folder, std::string_view name) {
  std::string path(folder);
  return hostPath(options, path.append("/").append(name), Symlinks::Refuse);
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r";
  const auto first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

/// The escapes of a key file's strings: \s \n \t \r \\.
std::string unescaped(std::string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\\' || index + 1 == text.size()) {
      result += text[index];
      continue;
    }
    ++index;
    constexpr std::string_view kLetters = "sntr";
    constexpr std::string_view kMeanings = " \n\t\r";
    const auto letter = kLetters.find(text[index]);
    result += letter == std::string_view::npos ? text[index] : kMeanings[letter];
  }
  return result;
}

void addNames(const std::string& folder, std::set<std::string, std::less<>>& names) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(folder.c_str()), closedir);
  if (!directory) return;
  while (const auto* entry = readdir(directory.get())) names.emplace(entry->d_name);
}

}  // namespace

AccountsServiceFile AccountsServiceFile::read(const HostOptions& options,
                                              std::string_view loginName) {
  AccountsServiceFile result;
  if (!isFileName(loginName)) return result;
  struct stat status {};
  int error = 0;
  const auto file =
      openRegularFile(under(options, kUsers, loginName), Symlinks::Refuse, status, error);
  std::optional<std::string> content;
  if (error == 0) content = readWhole(file, kLargestFile, error);
  std::string_view rest = content ? std::string_view(*content) : std::string_view();
  bool inUser = false;
  while (!rest.empty()) {
    const auto line = trimmed(rest.substr(0, rest.find('\n')));
    rest.remove_prefix(std::min(rest.size(), rest.find('\n') == std::string_view::npos
                                                 ? rest.size()
                                                 : rest.find('\n') + 1));
    if (line.starts_with('[')) {
      inUser = line == "[User]";
      continue;
    }
    const auto equals = line.find('=');
    if (!inUser || equals == std::string_view::npos) continue;
    const auto key = trimmed(line.substr(0, equals));
    const auto value = trimmed(line.substr(equals + 1));
    if (key == "Icon") result.picture = unescaped(value);
    if (key == "PasswordHint") result.passwordHint = unescaped(value);
  }
  if (result.picture.empty() && access(under(options, kIcons, loginName).c_str(), F_OK) == 0) {
    result.picture.assign(kIcons).append("/").append(loginName);
  }
  return result;
}

std::set<std::string, std::less<>> AccountsServiceFile::accounts(const HostOptions& options) {
  std::set<std::string, std::less<>> names;
  addNames(hostPath(options, kUsers), names);
  addNames(hostPath(options, kIcons), names);
  return names;
}

}  // namespace gatehall
