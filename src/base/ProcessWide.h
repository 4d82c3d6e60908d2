#pragma once

#include <memory>
#include <utility>

#include "gatehall/base/AtomicSharedPtr.h"

namespace gatehall {

/// Something that Platform::install drops. Instances are namespace-scope variables.
class DroppedOnInstall {
 public:
  DroppedOnInstall(const DroppedOnInstall&) = delete;
  DroppedOnInstall& operator=(const DroppedOnInstall&) = delete;

  static void dropAll();

 protected:
  DroppedOnInstall();
  ~DroppedOnInstall() = default;

 private:
  virtual void drop() = 0;

  DroppedOnInstall* mNext;
};

/// One object a process, made on first use and kept until another host is installed: shared
/// instances and process-wide caches. Threads may race to fill it; the first one in stays.
template <class T>
class ProcessWide final : public DroppedOnInstall {
 public:
  std::shared_ptr<T> get() const { return mObject->load(); }
  void clear() { mObject->store(nullptr); }

  /// Stores the object unless there is one; answers the one that is stored then.
  std::shared_ptr<T> keep(std::shared_ptr<T> object) {
    return mObject->storeIfEmpty(std::move(object));
  }

 private:
  void drop() override { clear(); }

  /// Not destroyed when the process exits, in whatever order static objects are: what an object
  /// undoes at its end it undoes at its host, and other threads may still run.
  AtomicSharedPtr<T>* mObject = new AtomicSharedPtr<T>;
};

}  // namespace gatehall
