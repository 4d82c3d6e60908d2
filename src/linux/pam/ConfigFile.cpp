#include "linux/pam/ConfigFile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"

namespace gatehall::pam {

namespace {

constexpr std::size_t kLargestFile = 1048576;
constexpr std::string_view kBlanks = " \t\n";

[[noreturn]] void fail(std::string_view path, std::string_view reason) {
  throw PlatformException(std::string(path).append(": ").append(reason));
}

std::string distrustOf(const struct stat& status, std::uint32_t owner) {
  if (status.st_uid != owner) return "belongs to user " + std::to_string(status.st_uid);
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) return "can be written by others than its owner";
  return {};
}

/// The next line with its line feed, which goes from the content.
std::string_view takeLine(std::string_view& content) {
  const auto feed = content.find('\n');
  const auto length = feed == std::string_view::npos ? content.size() : feed + 1;
  const auto line = content.substr(0, length);
  content.remove_prefix(length);
  return line;
}

void readLines(std::string_view content, ConfigFile& file) {
  bool continues = false;
  while (!content.empty()) {
    auto line = takeLine(content);
    ++file.lastLine;
    const auto begin = line.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos || line[begin] == '#') continue;
    line.remove_prefix(begin);
    if (!continues) file.lines.push_back({file.lastLine, {}});
    auto& text = file.lines.back().text;
    // What a comment ends doesn't go on.
    const auto comment = line.find('#');
    const auto last = line.find_last_not_of(kBlanks);
    continues = comment == std::string_view::npos && line[last] == '\\';
    text.append(continues ? line.substr(0, last) : line.substr(0, comment));
    if (continues) text += ' ';
  }
  file.endsInALine = continues;
  if (continues) file.lines.pop_back();
}

}  // namespace

std::optional<ConfigFile> readConfigFile(const HostOptions& options, std::string_view path) {
  struct stat status {};
  int error = 0;
  const auto opened = openRegularFile(hostPath(options, path), Symlinks::Follow, status, error);
  if (error == ENOENT || error == ENOTDIR) return std::nullopt;
  if (error == EINVAL) fail(path, "it is no regular file");
  if (error != 0) fail(path, std::generic_category().message(error));
  const auto content = readWhole(opened, kLargestFile, error);
  if (!content && error == EFBIG) fail(path, "it is too long");
  if (!content) fail(path, std::generic_category().message(error));
  if (content->find('\0') != std::string::npos) fail(path, "it holds a NUL character");
  ConfigFile file{
      .path = std::string(path), .lines = {}, .distrust = distrustOf(status, systemOwner(options))};
  const auto folder = file.path.substr(0, file.path.rfind('/'));
  struct stat above {};
  if (file.distrust.empty() && stat(hostPath(options, folder).c_str(), &above) == 0) {
    const auto reason = distrustOf(above, systemOwner(options));
    if (!reason.empty()) file.distrust = "is in " + folder + ", which " + reason;
  }
  readLines(*content, file);
  return file;
}

std::optional<std::string> Words::next() {
  const auto begin = mLeft.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) {
    mLeft = {};
    return std::nullopt;
  }
  mLeft.remove_prefix(begin);
  if (mLeft.front() != '[') {
    const auto end = std::min(mLeft.find_first_of(kBlanks), mLeft.size());
    std::string word(mLeft.substr(0, end));
    mLeft.remove_prefix(end);
    return word;
  }
  std::string word;
  std::size_t at = 1;
  for (; at < mLeft.size() && mLeft[at] != ']'; ++at) {
    if (mLeft.substr(at, 2) == "\\]") ++at;
    word += mLeft[at];
  }
  mLeft.remove_prefix(std::min(at + 1, mLeft.size()));
  return word;
}

}  // namespace gatehall::pam
