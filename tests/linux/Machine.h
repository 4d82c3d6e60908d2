#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "gatehall/linux/LinuxOptions.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/directory/LinuxDirectory.h"

namespace gatehall {

/// A log that a test reads.
class KeptLog final : public Log {
 public:
  void error(std::string_view text) override { add(text); }
  void diagnostic(std::string_view text) override { add(text); }

  Strings lines() const {
    const std::lock_guard lock(mMutex);
    return mLines;
  }

 private:
  void add(std::string_view text) {
    const std::lock_guard lock(mMutex);
    mLines.emplace_back(text);
  }

  mutable std::mutex mMutex;
  Strings mLines;
};

class SetClock final : public Clock {
 public:
  Date now() override { return Date(std::chrono::duration<double>(seconds)); }
  double seconds = 20000 * 86400.0;  ///< day 20000, 2024-10-04
};

/// A machine in a folder of its own: a test writes its files and asks its directory.
class Machine {
 public:
  Machine() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    options.root = name;
    umask(022);  // folders as an administrator's are
    write("/etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    write("/etc/shells", "# those that log in\n/bin/sh\n/bin/bash\n");
    write("/etc/passwd", "");
    write("/etc/group", "");
    write("/etc/shadow", "");
  }
  ~Machine() { std::filesystem::remove_all(options.root); }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  std::string path(std::string_view file) const { return options.root + std::string(file); }

  void write(std::string_view file, std::string_view content) const {
    std::filesystem::create_directories(std::filesystem::path(path(file)).parent_path());
    std::ofstream(path(file), std::ios::binary) << content;
    if (chmod(path(file).c_str(), 0644) != 0) throw std::runtime_error("chmod");
  }
  void remove(std::string_view file) const { std::filesystem::remove(path(file)); }

  LinuxDirectory& directory() {
    if (!mDirectory) mDirectory = std::make_unique<LinuxDirectory>(options, log, clock);
    return *mDirectory;
  }
  std::shared_ptr<DirectoryNode> local() {
    return directory().defaultSession()->nodeByType(NodeType::Local);
  }
  std::shared_ptr<DirectoryNode> search() {
    return directory().defaultSession()->nodeByType(NodeType::Search);
  }
  std::shared_ptr<DirectoryRecord> user(std::string_view name) {
    return local()->recordByTypeAndName(record::Users, name, {});
  }
  std::shared_ptr<DirectoryRecord> group(std::string_view name) {
    return local()->recordByTypeAndName(record::Groups, name, {});
  }
  std::vector<std::shared_ptr<DirectoryRecord>> find(std::string_view type, std::string_view kind,
                                                     MatchType match, Strings values,
                                                     Strings returning = {},
                                                     std::uint32_t limit = 0) {
    return *local()
                ->query({{std::string(type)},
                         std::string(kind),
                         match,
                         std::move(values),
                         std::move(returning),
                         limit})
                ->results(false);
  }
  /// The first RecordName of each result.
  Strings names(std::string_view type, std::string_view kind, MatchType match, Strings values,
                std::uint32_t limit = 0) {
    Strings result;
    for (const auto& each : find(type, kind, match, std::move(values), {}, limit)) {
      result.push_back(each->valuesForAttribute(attribute::RecordName)->front());
    }
    return result;
  }
  Strings allUsers() {
    return names(record::Users, attribute::RecordName, MatchType::EqualTo,
                 {std::string(attribute::AllRecords)});
  }
  Strings allGroups() {
    return names(record::Groups, attribute::RecordName, MatchType::EqualTo,
                 {std::string(attribute::AllRecords)});
  }

  /// The same for a whole host.
  LinuxOptions linuxOptions() const {
    LinuxOptions result;
    result.setRoot(options.root);
    result.setSystemBusAddress(options.systemBusAddress);
    result.setCallTimeout(options.callTimeout);
    result.setSessionLimits(options.sessionLimits);
    result.setRunning(options.isRunning);
    return result;
  }

  HostOptions options;
  KeptLog log;
  SetClock clock;

 private:
  std::unique_ptr<LinuxDirectory> mDirectory;
};

/// The values as they are asked for in a test; none when absent.
inline Strings values(const std::shared_ptr<DirectoryRecord>& record, std::string_view kind) {
  return record->valuesForAttribute(kind).value_or(Strings());
}

/// Whether one of the lines is exactly that one.
inline bool holdsLine(const Strings& lines, std::string_view line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

}  // namespace gatehall
