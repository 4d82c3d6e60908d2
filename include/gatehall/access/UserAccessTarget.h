#pragma once

#include "gatehall/base/Export.h"

namespace gatehall {

/// What UserAccess tells: somebody who shows the list of users.
class GATEHALL_EXPORT UserAccessTarget {
 public:
  virtual ~UserAccessTarget() = default;

  /// The visible users list changed. On the main thread; whoever made the change waits meanwhile.
  virtual void visibleUsersListChanged() = 0;
};

}  // namespace gatehall
