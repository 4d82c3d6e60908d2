#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "gatehall/base/AtomicSharedPtr.h"
#include "portable/text/IcuCollation.h"

namespace gatehall {

/// The order of names in a world; at first the one that no language in particular has. From any
/// thread.
class WorldCollation final : public Collation {
 public:
  WorldCollation() { setLocale(""); }

  int compare(std::string_view left, std::string_view right) override {
    return mCollation.load()->compare(left, right);
  }
  std::string sortKey(std::string_view text) override { return mCollation.load()->sortKey(text); }

  /// The order of that locale from now on, by a name as IcuCollation takes it.
  void setLocale(std::string_view locale) {
    mCollation.store(std::make_shared<IcuCollation>(locale));
    mLocale.store(std::make_shared<std::string>(locale));
  }
  std::string locale() { return *mLocale.load(); }

 private:
  AtomicSharedPtr<IcuCollation> mCollation;
  AtomicSharedPtr<std::string> mLocale;
};

}  // namespace gatehall
