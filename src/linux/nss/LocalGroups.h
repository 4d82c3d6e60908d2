#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>

#include "linux/files/FaultLog.h"
#include "linux/files/FileState.h"
#include "linux/files/HostOptions.h"

namespace gatehall::nss {

/// The machine's own groups, which the name service tells of, too. From any thread.
class LocalGroups {
 public:
  struct Groups {
    std::unordered_set<std::string> names;
    std::unordered_set<std::uint32_t> ids;
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
