#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "gatehall/base/Export.h"

namespace gatehall {

/// A shared pointer that some threads read while others replace it. It stands for
/// std::atomic<std::shared_ptr>, whose readers in GCC 12's library are not ordered before the next
/// writer. What was replaced is released outside of the lock. From any thread.
template <class T>
class GATEHALL_EXPORT AtomicSharedPtr {
 public:
  AtomicSharedPtr() = default;
  AtomicSharedPtr(const AtomicSharedPtr&) = delete;
  AtomicSharedPtr& operator=(const AtomicSharedPtr&) = delete;

  std::shared_ptr<T> load() const {
    const std::scoped_lock lock(mMutex);
    return mObject;
  }

  void store(std::shared_ptr<T> object) { exchange(std::move(object)); }

  /// Answers what it held before.
  std::shared_ptr<T> exchange(std::shared_ptr<T> object) {
    const std::scoped_lock lock(mMutex);
    mObject.swap(object);
    return object;
  }

  /// Stores the object if it holds none; answers what it holds then.
  std::shared_ptr<T> storeIfEmpty(std::shared_ptr<T> object) {
    const std::scoped_lock lock(mMutex);
    if (!mObject) mObject = std::move(object);
    return mObject;
  }

 private:
  mutable std::mutex mMutex;
  std::shared_ptr<T> mObject;
};

}  // namespace gatehall
