#pragma once

#include <optional>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// Preferences by application domain: the current user's settings first, then the system's. From
/// any thread. Values may be cached until synchronizePreferences.
class GATEHALL_EXPORT PreferenceStore {
 public:
  virtual ~PreferenceStore() = default;

  /// The stored value, or absent. May raise PlatformException.
  virtual std::optional<Value> copyApplicationValue(std::string_view key,
                                                    std::string_view domain) = 0;

  /// The stored value as a boolean; exists is true only when the key exists and reads as one
  /// (strictBoolean), otherwise the answer is false. May raise PlatformException.
  virtual bool applicationBoolean(std::string_view key, std::string_view domain, bool& exists) = 0;

  /// Makes later reads of the domain see what is stored now, for any user on this host. May raise
  /// PlatformException.
  virtual void synchronizePreferences(std::string_view domain) = 0;
};

/// Property-list files at fixed paths. From any thread.
class GATEHALL_EXPORT PropertyListReader {
 public:
  virtual ~PropertyListReader() = default;

  /// The file's top-level value; absent when there is no such file. One that is there and can't be
  /// used (unreadable, malformed, empty, not to be trusted because others than its owner and root
  /// can write it) or says what it can't mean raises PlatformException, whose text names the file
  /// and the reason: it may be the policy by which somebody is refused.
  virtual std::optional<Value> readPropertyList(std::string_view path) = 0;
};

}  // namespace gatehall
