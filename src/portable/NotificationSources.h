#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "gatehall/platform/RunLoop.h"

namespace gatehall {

/// The sources of those who registered for system-wide notifications, for as long as they keep
/// them.
class NotificationSources {
 public:
  using Handler = std::function<void()>;

  std::shared_ptr<RunLoopSource> add(std::string_view name, Handler handler);

  /// Calls tell with each source of the name and its handler, in the order of their registering.
  void each(std::string_view name,
            const std::function<void(std::shared_ptr<RunLoopSource>, Handler)>& tell) const;

 private:
  class Source;

  std::vector<std::weak_ptr<Source>> mSources;
};

}  // namespace gatehall
