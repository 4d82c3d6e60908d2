#include "linux/pam/Stack.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "linux/files/HostPath.h"
#include "linux/pam/ConfigFile.h"

namespace gatehall::pam {

namespace {

constexpr std::array<std::string_view, 2> kFolders{"/etc/pam.d", "/usr/lib/pam.d"};
constexpr std::string_view kOther = "other";
constexpr std::size_t kLongestName = 64;
constexpr std::size_t kLongestLine = 1000;
constexpr std::size_t kMostFilesInOneAnother = 32;
constexpr std::size_t kMostFiles = 1000;
constexpr std::size_t kMostEntries = 1000;
constexpr std::size_t kMostLevels = 16;  // libpam's own limit of substacks in one another

std::string inFolder(std::string_view folder, std::string_view name) {
  return std::string(folder).append("/").append(name);
}

/// The file that the name stands for where PAM is given one: a service's, or one to include.
std::optional<ConfigFile> fileNamed(const HostOptions& options, std::string_view name) {
  if (name.starts_with('/')) return readConfigFile(options, name);
  for (const auto folder : kFolders) {
    if (auto file = readConfigFile(options, inFolder(folder, name))) return file;
  }
  return std::nullopt;
}

/// Reads one service's configuration, entry by entry.
class Reader {
 public:
  Reader(const HostOptions& options, Stack& stack) : mOptions(options), mStack(stack) {}

  /// False when libpam takes nothing of a service with that file; fault() says why.
  bool readService(const ConfigFile& file) { return readLines(file, false, {}); }

  const std::string& fault() const { return mFault; }

 private:
  /// In how many files and substacks something is.
  struct Depth {
    std::size_t files = 0;
    std::size_t level = 0;
  };

  /// What a line's first word says about it.
  enum class Type { Account, Include, Wrong, Another };

  static Type typeOf(std::string_view word) {
    if (word.starts_with('-')) word.remove_prefix(1);
    if (ascii::isSame(word, "account")) return Type::Account;
    if (ascii::isSame(word, "@include")) return Type::Include;
    const bool isKnown = ascii::isSame(word, "auth") || ascii::isSame(word, "session") ||
                         ascii::isSame(word, "password");
    return isKnown ? Type::Another : Type::Wrong;
  }

  /// Of a file that is included for its lines about accounts, a wrong line is one of them.
  bool readLines(const ConfigFile& file, bool isForAccounts, Depth depth) {
    if (++mFiles > kMostFiles || depth.files > kMostFilesInOneAnother) {
      throw PlatformException(file.path + ": too many files are included in one another");
    }
    if (!file.distrust.empty() && mSeen.insert(file.path).second) {
      mStack.untrusted.push_back({file.path, file.distrust});
    }
    for (const auto& line : file.lines) {
      const Place place{file.path, line.number};
      Words words(line.text);
      const auto type = typeOf(words.next().value_or(""));
      if (type == Type::Another || (type == Type::Wrong && !isForAccounts)) continue;
      if (line.text.size() > kLongestLine) {
        throw PlatformException(textOf(place) + ": the line is too long");
      }
      const bool isRead = type == Type::Include
                              ? include(words, place, isForAccounts, depth)
                              : readEntry(words, place, type == Type::Account, depth);
      if (!isRead) return false;
    }
    if (!file.endsInALine) return true;
    return fails({file.path, file.lastLine}, "the file ends where a line goes on");
  }

  /// "@include FILE", whose fault is the including file's.
  bool include(Words& words, const Place& place, bool isForAccounts, Depth depth) {
    const auto name = words.next();
    if (!name) return fails(place, "an include without a file");
    const auto file = fileNamed(mOptions, *name);
    if (!file) return fails(place, "there is no file " + *name + " to include");
    return readLines(*file, isForAccounts, {depth.files + 1, depth.level});
  }

  bool readEntry(Words& words, const Place& place, bool isUsable, Depth depth) {
    Entry entry{.kind = isUsable ? Entry::Kind::Module : Entry::Kind::Failure,
                .level = depth.level,
                .control = everythingIsBad(),
                .place = place};
    const auto control = words.next();
    if (!control) {
      entry.kind = Entry::Kind::Failure;
      add(std::move(entry));
      return true;
    }
    entry.controlText = *control;
    const bool isSubstack = ascii::isSame(*control, "substack");
    if (isSubstack || ascii::isSame(*control, "include")) {
      const auto name = words.next();
      if (!name) return fails(place, "an include without a file");
      if (isSubstack) {
        entry.kind = Entry::Kind::Substack;
        add(entry);
      }
      if (includeForAccounts(*name, {depth.files + 1, depth.level + (isSubstack ? 1 : 0)})) {
        return true;
      }
      entry.kind = Entry::Kind::Failure;
      add(std::move(entry));
      return true;
    }
    entry.control = readControl(*control);
    const auto path = words.next();
    if (!path) entry.kind = Entry::Kind::Failure;
    entry.modulePath = path.value_or("");
    entry.module = entry.modulePath;
    entry.module.erase(0, entry.module.rfind('/') + 1);
    while (const auto argument = words.next()) entry.arguments.push_back(*argument);
    add(std::move(entry));
    return true;
  }

  /// What was read of a file before a fault in it stays.
  bool includeForAccounts(const std::string& name, Depth depth) {
    if (depth.level >= kMostLevels) return false;
    const auto file = fileNamed(mOptions, name);
    return file && readLines(*file, true, depth);
  }

  void add(Entry entry) {
    if (mStack.entries.size() == kMostEntries) {
      throw PlatformException(textOf(entry.place) + ": the stack is too long");
    }
    mStack.entries.push_back(std::move(entry));
  }

  bool fails(const Place& place, std::string_view reason) {
    mFault = textOf(place).append(": ").append(reason);
    return false;
  }

  const HostOptions& mOptions;
  Stack& mStack;
  std::string mFault;
  std::size_t mFiles = 0;
  std::set<std::string, std::less<>> mSeen;
};

/// The account stack that the service's own file makes; without entries when it has none.
Stack readOwn(const HostOptions& options, std::string_view service) {
  Stack stack;
  const auto file = fileNamed(options, service);
  if (!file) return stack;
  stack.file = file->path;
  Reader reader(options, stack);
  if (!reader.readService(*file)) stack.fault = reader.fault();
  return stack;
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

}  // namespace

std::string textOf(const Place& place) {
  return place.line == 0 ? place.file : place.file + ":" + std::to_string(place.line);
}

bool isServiceName(std::string_view name) {
  const auto isPlain = [](char each) {
    return ascii::isAlphanumeric(each) ||
           std::string_view("._+-").find(each) != std::string_view::npos;
  };
  return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
         std::ranges::all_of(name, isPlain);
}

Stack readAccountStack(const HostOptions& options, std::string_view service) {
  auto stack = readOwn(options, ascii::lower(service));
  // A fault in the file of "other" stops every service, also those with a stack of their own.
  auto other = readOwn(options, kOther);
  if (stack.fault.empty() && !other.fault.empty()) stack.fault = other.fault;
  if (stack.fault.empty() && stack.entries.empty()) {
    std::ranges::move(stack.untrusted, std::back_inserter(other.untrusted));
    if (!other.file.empty() || stack.file.empty()) stack = std::move(other);
  }
  if (stack.fault.empty() && stack.entries.empty()) {
    stack.fault = stack.file.empty() ? "PAM has no file for it, nor one for other services"
                                     : stack.file + ": there is no line about accounts";
  }
  if (!stack.fault.empty()) stack.entries.clear();
  return stack;
}

Strings servicesWithFile(const HostOptions& options) {
  std::set<std::string, std::less<>> names;
  for (const auto folder : kFolders) {
    const auto path = hostPath(options, folder);
    const std::unique_ptr<DIR, CloseFolder> opened(opendir(path.c_str()));
    if (!opened && errno == ENOENT) continue;
    if (!opened) {
      throw PlatformException(std::string(folder) + ": " + std::generic_category().message(errno));
    }
    while (const auto* entry = readdir(opened.get())) {
      const std::string_view name(entry->d_name);
      if (isServiceName(name) && entry->d_type != DT_DIR) names.emplace(name);
    }
  }
  return {names.begin(), names.end()};
}

}  // namespace gatehall::pam
