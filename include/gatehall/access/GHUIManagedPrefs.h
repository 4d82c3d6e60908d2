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
/// before or after it.
class GATEHALL_EXPORT GHUIManagedPrefs {
 public:
  /// The process's one instance, loaded on first use.
  static std::shared_ptr<GHUIManagedPrefs> managedPrefs();

  /// Loads both files. May raise PlatformException.
  GHUIManagedPrefs();

  /// Loads both files again. A login-screen file that is missing or no dictionary leaves no managed
  /// values but what the other file adds. May raise PlatformException; there are no values to
  /// answer with then, and each question tries again until it can be answered.
  void synchronize();

  /// The managed value, or absent. May raise PlatformException.
  std::optional<Value> objectForKey(std::string_view key) const;

  /// Sets a managed value in memory; does nothing without a value or a key. May raise
  /// PlatformException.
  void setObject(std::optional<Value> value, std::optional<std::string_view> forKey);

 private:
  std::shared_ptr<const Dictionary> load() const;
  std::shared_ptr<const Dictionary> values() const;

  /// nullptr until the files can be read.
  mutable AtomicSharedPtr<const Dictionary> mManagedPreferences;
};

}  // namespace gatehall
