#include "linux/events/MachineEvents.h"

#include <utility>

#include "gatehall/platform/NotificationNames.h"
#include "linux/files/HostPath.h"

namespace gatehall {

namespace {

constexpr const char* kLocale = "org.freedesktop.locale1";

constexpr const char* kEtc = "/etc";

/// Whatever changes in them, besides /etc, may be about who is shown.
constexpr const char* kSettings[] = {"/etc/gatehall", "/etc/gatehall/managed", "/etc/userdb",
                                     "/Library/Managed Preferences"};

}  // namespace

MachineEvents::MachineEvents(const HostOptions& options, Log& log, DirectoryService& directory,
                             MainLoop& runLoop, EventLoop& events, EventTargets targets)
    : mRunLoop(runLoop),
      mTargets(std::move(targets)),
      mBus(runLoop, events, options, log),
      mAccounts(mBus, runLoop, mTargets.distributed,
                AccountNotifications(runLoop, directory, mTargets.distributed, log)) {
  if (options.isRunning) mSessions.emplace(mBus, mTargets.distributed, mTargets.system, log);
  listenToOthers();
  listenToLocale();
  watchFolders(options, events, log);
  if (!options.isRunning) return;
  mBus.start([this](bool wasAway) {
    if (!wasAway) return mSessions->listening();
    mSessions->readSessions();
    refresh();
  });
}

void MachineEvents::listenToOthers() {
  mBus.listen("", "type='signal',interface='com.orvane.Notifications1',member='Posted'",
              [this](const BusSignal& signal) {
                if (signal.values.size() != 3) return;
                const auto* name = signal.values[0].string();
                const auto* sender = signal.values[1].string();
                const auto* userInfo = signal.values[2].dictionary();
                if (name == nullptr || sender == nullptr || userInfo == nullptr) return;
                mTargets.distributed.post({*name, *userInfo});
              });
}

void MachineEvents::listenToLocale() {
  mBus.listen(
      kLocale,
      "type='signal',path='/org/freedesktop/locale1',"
      "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
      [this](const BusSignal& signal) {
        if (!changedProperties(signal, kLocale).contains("Locale")) return;
        mTargets.localeChanged();
        mTargets.inProcess.post({std::string(kCurrentLocaleDidChangeNotification), std::nullopt});
      });
}

void MachineEvents::watchFolders(const HostOptions& options, EventLoop& events, Log& log) {
  const auto watch = [&](const std::string& folder, FolderWatch::Handler handler) {
    mFolders.emplace_back(mRunLoop, events, log, folder, std::move(handler));
  };
  watch(hostPath(options, kEtc), [this](std::string_view name) { accountFileChanged(name); });
  for (const auto* folder : kSettings) {
    watch(hostPath(options, folder), [this](std::string_view) { refresh(); });
  }
  if (!options.isRunning) return;
  watch(SessionEvents::kFolder,
        [this](std::string_view name) { mSessions->fileChanged(std::string(name)); });
}

void MachineEvents::accountFileChanged(std::string_view name) {
  const bool isUnknown = name.empty();
  if (isUnknown || name == "passwd" || name == "shadow") {
    mTargets.system.post(kAccountFilesChangedNotification);
  }
  if (isUnknown || name == "group") mTargets.system.post(kLocalGroupsChangedNotification);
  if (isUnknown || name == "passwd" || name == "shadow") mAccounts.fileChanged();
}

void MachineEvents::refresh() {
  mTargets.distributed.post({std::string(kRefreshUserListNotification), std::nullopt});
}

}  // namespace gatehall
