#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <utility>

namespace gatehall {

/// A service that is made by the first thread that asks for it; one that can't be made raises, and
/// is tried again at the next question.
template <class Service>
class LazyService {
 public:
  template <class... Arguments>
  Service& get(Arguments&&... arguments) {
    if (!mIsMade.load(std::memory_order_acquire)) {
      const std::scoped_lock lock(mMutex);
      if (!mService) mService.emplace(std::forward<Arguments>(arguments)...);
      mIsMade.store(true, std::memory_order_release);
    }
    return *mService;
  }

  /// nullptr when nobody has asked for it.
  Service* made() { return mService ? &*mService : nullptr; }

 private:
  std::atomic<bool> mIsMade = false;
  std::mutex mMutex;  ///< no std::once_flag: raising in there ends a statically linked program
  std::optional<Service> mService;
};

}  // namespace gatehall
