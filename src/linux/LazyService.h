#pragma once

#include <mutex>
#include <optional>
#include <utility>

namespace gatehall {

/// A service that is made by the first thread that asks for it.
template <class Service>
class LazyService {
 public:
  template <class... Arguments>
  Service& get(Arguments&&... arguments) {
    std::call_once(mMade, [&] { mService.emplace(std::forward<Arguments>(arguments)...); });
    return *mService;
  }

  /// nullptr when nobody has asked for it.
  Service* made() { return mService ? &*mService : nullptr; }

 private:
  std::once_flag mMade;
  std::optional<Service> mService;
};

}  // namespace gatehall
