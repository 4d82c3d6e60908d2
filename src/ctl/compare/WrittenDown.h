#pragma once

#include <string>
#include <string_view>

#include "ctl/request/Host.h"
#include "gatehall/base/Value.h"
#include "linux/files/FileDescriptor.h"

namespace gatehall::ctl {

/// A machine as a world file that nobody else sees, for what can only be changed in a world.
class WrittenDown {
 public:
  /// Looks at the machine, with everything that its directories hold. Raises UsageError as Host
  /// does, PlatformException, and std::system_error when there is no room for it.
  explicit WrittenDown(const Host::Source& machine);

  /// The world, as long as this object lives.
  Host::Source world() const;

  /// Whether the machine's administrators are those of the group and of others: a world has them in
  /// the group "admin" alone.
  bool makesAdministrators(std::string_view group) const;

  /// What could not be known of the machine, a sentence each.
  const Strings& unknown() const { return mUnknown; }

 private:
  FileDescriptor mFile;
  Strings mUnknown;
  Strings mAdministrators;  ///< names of groups
};

}  // namespace gatehall::ctl
