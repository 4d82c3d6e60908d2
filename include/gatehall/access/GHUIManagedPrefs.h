#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "gatehall/base/AtomicSharedPtr.h"
#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// The managed layer of the login screen's preferences: an administrator's property-list files,
/// which override the preference domain. From any thread; a read during a reload sees the values of
/// before or after it, or none.
class GATEHALL_EXPORT GHUIManagedPrefs {
 public:
  /// The process's one instance, loaded on first use.
  static std::shared_ptr<GHUIManagedPrefs> managedPrefs();

  /// Loads both files. May raise PlatformException.
  GHUIManagedPrefs();

  /// Loads both files again. A missing or malformed login-screen file leaves no managed values but
  /// what the other file adds. May raise PlatformException.
  void synchronize();

  /// The managed value, or absent.
  std::optional<Value> objectForKey(std::string_view key) const;

  /// Sets a managed value in memory; does nothing without a value or a key.
  void setObject(std::optional<Value> value, std::optional<std::string_view> forKey);

 private:
  void mergeTavloPrefs();

  /// nullptr: no managed values.
  AtomicSharedPtr<const Dictionary> mManagedPreferences;
};

}  // namespace gatehall
