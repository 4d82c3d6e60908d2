#pragma once

#include <string>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// What of the files that decide about logins is there for root and not for other users, one
/// sentence each. Programs run by others, gatehall-switch among them, may decide otherwise for it.
/// By the modes of the files and of the folders that they are in (inode(7)).
Strings policyFilesHiddenFromUsers(const HostOptions& options);

/// A file or folder that decides about logins and has another owner or mode than it should.
struct MisplacedRights {
  enum class Kind {
    Hidden,    ///< other users can't read it, or not go through it
    Foreign,   ///< it doesn't belong to systemOwner
    Writable,  ///< others than its owner can write it
    Told,      ///< others than its owner and its group can read it, and it holds secrets
  };
  Kind kind;
  std::string path;  ///< from the host's root
  std::string text;  ///< what is wrong, "can be written by others than its owner (mode 0666)"
};

/// What of these files others than the machine's owner can write, or can't read, or can read and
/// should not; a file that isn't there has none. Property lists and user records are left to those
/// who read them, and refuse one like that.
std::vector<MisplacedRights> misplacedRights(const HostOptions& options);

}  // namespace gatehall
