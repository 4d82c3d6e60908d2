#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "gatehall/platform/Log.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"

namespace gatehall {

/// Hears what changes in a folder for as long as it lives, also when the folder, or one above it,
/// is not there yet, or goes and comes again. A folder that can't be watched is heard no more, and
/// the diagnostic log says why. On the main thread.
class FolderWatch {
 public:
  /// The name of what changed in it; none: anything may have.
  using Handler = std::function<void(std::string_view name)>;

  FolderWatch(MainLoop& runLoop, EventLoop& events, Log& log, std::filesystem::path folder,
              Handler handler);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

 private:
  void watch();
  void changed(std::string_view name);

  MainLoop& mRunLoop;
  EventLoop& mEvents;
  Log& mLog;
  const std::filesystem::path mFolder;
  const Handler mHandler;
  EventLoop::SourceHandle mSource;  ///< of the folder, or of the closest above it that is there
  bool mIsThere = false;
};

}  // namespace gatehall
