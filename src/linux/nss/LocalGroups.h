#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "linux/files/FaultLog.h"
#include "linux/files/FileState.h"
#include "linux/files/HostOptions.h"

namespace gatehall::nss {

/// The machine's own groups, which the name service tells of, too. From any thread.
class LocalGroups {
 public:
  struct Groups {
    std::unordered_multimap<std::string, std::optional<std::uint32_t>> idsOfNames;
    std::unordered_set<std::uint32_t> ids;

    /// Whether one of them has that name and that id.
    bool hold(const std::string& name, std::uint32_t id) const;

    /// Of a group that has what is one's, in words that follow "it"; else empty.
    std::string whyLike(const std::string& name, std::uint32_t id) const;
  };

  LocalGroups(const HostOptions& options, FaultLog& faults) : mOptions(options), mFaults(faults) {}

  /// As they are now. Raises PlatformException when the group file can't be read.
  std::shared_ptr<const Groups> current();

 private:
  const HostOptions& mOptions;
  FaultLog& mFaults;
  std::mutex mMutex;
  std::optional<FileState> mState;
  std::shared_ptr<const Groups> mGroups;
};

}  // namespace gatehall::nss
