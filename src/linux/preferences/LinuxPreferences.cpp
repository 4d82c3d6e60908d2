#include "linux/preferences/LinuxPreferences.h"

#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "linux/preferences/PolicyFileContent.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/formats/PropertyList.h"

namespace gatehall {

namespace {

/// The entries of a user's own file; none, with a line in the log, when it can't be used. Its owner
/// could have written anything into it.
Dictionary readUserEntries(const std::string& path, std::initializer_list<std::uint32_t> owners,
                           Log& log) {
  const auto ignore = [&](const std::string& why) {
    log.error("Ignoring " + path + ": " + why + ".");
    return Dictionary();
  };
  std::string fault;
  const auto bytes = readOwnedFile(path, owners, kLargestPropertyList, fault);
  if (!bytes) return fault.empty() ? Dictionary() : ignore(fault);
  try {
    const auto list = parsePropertyList(*bytes);
    const auto* entries = list.dictionary();
    return entries != nullptr ? *entries : ignore("it holds no dictionary");
  } catch (const MalformedPropertyList& error) {
    return ignore(error.what());
  }
}

}  // namespace

LinuxPreferences::LinuxPreferences(HostOptions options, DirectoryService& directory,
                                   Process& process, Log& log)
    : mOptions(std::move(options)),
      mDirectory(directory),
      mProcess(process),
      mLog(log),
      mFaults(log) {}

std::optional<Value> LinuxPreferences::copyApplicationValue(std::string_view key,
                                                            std::string_view domain) {
  const auto preferences = domainNamed(domain);
  for (const auto* entries : {&preferences->user, &preferences->system}) {
    if (const auto found = entries->find(key); found != entries->end()) return found->second;
  }
  return std::nullopt;
}

bool LinuxPreferences::applicationBoolean(std::string_view key, std::string_view domain,
                                          bool& exists) {
  const auto value = copyApplicationValue(key, domain);
  const auto flag = value ? strictBoolean(*value) : std::nullopt;
  exists = flag.has_value();
  return flag.value_or(false);
}

void LinuxPreferences::synchronizePreferences(std::string_view domain) {
  const std::scoped_lock lock(mLock);
  ++mSynchronized;
  if (const auto found = mDomains.find(domain); found != mDomains.end()) mDomains.erase(found);
}

std::shared_ptr<const LinuxPreferences::Domain> LinuxPreferences::domainNamed(
    std::string_view name) {
  std::uint64_t synchronized = 0;
  {
    const std::scoped_lock lock(mLock);
    if (const auto found = mDomains.find(name); found != mDomains.end()) return found->second;
    synchronized = mSynchronized;
  }
  auto domain = std::make_shared<const Domain>(read(name));
  const std::scoped_lock lock(mLock);
  // What was read before the files were to be looked at again is an answer, but none to keep.
  if (synchronized == mSynchronized) mDomains.insert_or_assign(std::string(name), domain);
  return domain;
}

LinuxPreferences::Domain LinuxPreferences::read(std::string_view name) {
  if (!canNameSettings(name)) return {};
  Domain domain;
  domain.system =
      readPolicySettings(mOptions, machinePreferencesFile(name), mFaults).value_or(Dictionary());
  const auto user = mProcess.effectiveUserID();
  if (const auto file = ownFile(user, name)) {
    domain.user = readUserEntries(hostPath(mOptions, *file, Symlinks::Refuse),
                                  {user, systemOwner(mOptions)}, mLog);
  }
  return domain;
}

std::optional<std::string> LinuxPreferences::ownFile(std::uint32_t userID,
                                                     std::string_view domain) {
  try {
    return ownPreferencesFile(mDirectory, userID, domain);
  } catch (const PlatformException& error) {
    mLog.error("Unable to find the home folder of user " + std::to_string(userID) + ": " +
               error.what());
  }
  return std::nullopt;
}

}  // namespace gatehall
