#include "linux/loop/FolderWatch.h"

#include <string>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

FolderWatch::FolderWatch(MainLoop& runLoop, EventLoop& events, Log& log,
                         std::filesystem::path folder, Handler handler)
    : mRunLoop(runLoop),
      mEvents(events),
      mLog(log),
      mFolder(std::move(folder)),
      mHandler(std::move(handler)) {
  watch();
}

void FolderWatch::watch() {
  // Not at once: a source can't be replaced while it is heard.
  const auto hear = [this](std::string_view name) {
    mRunLoop.post([this, name = std::string(name)] { changed(name); });
  };
  std::filesystem::path folder;
  std::filesystem::path missing;
  std::error_code error;
  try {
    do {
      missing.clear();
      folder = mFolder;
      while (!(mSource = mEvents.whenChanged(folder, hear)) && folder.has_relative_path()) {
        missing = std::exchange(folder, folder.parent_path());
      }
      // It may have come before the one above it was watched.
    } while (!missing.empty() && std::filesystem::is_directory(missing, error));
  } catch (const PlatformException& failure) {
    mLog.diagnostic(failure.what());
  }
  mIsThere = mSource != nullptr && folder == mFolder;
}

void FolderWatch::changed(std::string_view name) {
  if (mIsThere && !name.empty()) return mHandler(name);
  const bool wasThere = mIsThere;
  watch();
  if (wasThere || mIsThere) mHandler({});
}

}  // namespace gatehall
