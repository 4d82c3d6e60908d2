#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "gatehall/platform/PreferenceStore.h"
#include "gatehall/platform/Process.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// Preferences in property-list files, `<domain>.plist`: of the effective user in the folder
/// `.config/gatehall` of their home folder, which win, and of the system in `/etc/gatehall`. The
/// home folder is what the directory says, never the environment.
///
/// The system's file is an administrator's policy: one that is there and can't be used, or says
/// what it can't mean, raises PlatformException (readPolicySettings) at every question until it is
/// mended or gone. A user's own that can't be used is ignored, and the log says so. Files are read
/// when a domain is first asked for and again after synchronizePreferences.
class LinuxPreferences final : public PreferenceStore {
 public:
  LinuxPreferences(HostOptions options, DirectoryService& directory, Process& process, Log& log);

  std::optional<Value> copyApplicationValue(std::string_view key, std::string_view domain) override;
  bool applicationBoolean(std::string_view key, std::string_view domain, bool& exists) override;
  void synchronizePreferences(std::string_view domain) override;

 private:
  struct Domain {
    Dictionary user;
    Dictionary system;
  };

  std::shared_ptr<const Domain> domainNamed(std::string_view name);
  Domain read(std::string_view name);
  std::optional<std::string> ownFile(std::uint32_t userID, std::string_view domain);

  HostOptions mOptions;
  DirectoryService& mDirectory;
  Process& mProcess;
  Log& mLog;
  FaultLog mFaults;
  std::mutex mLock;                 ///< guards what follows; not held while files are read
  std::uint64_t mSynchronized = 0;  ///< so often
  std::map<std::string, std::shared_ptr<const Domain>, std::less<>> mDomains;
};

}  // namespace gatehall
