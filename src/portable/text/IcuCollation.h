#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "gatehall/platform/Collation.h"

namespace gatehall {

/// Collation by ICU's rules for a locale: case is ignored, accents count, runs of digits go by
/// their value. ICU is mapped by the first comparison, which raises PlatformException when it is
/// not installed. One object serves any number of threads.
class IcuCollation final : public Collation {
 public:
  /// The locale's name as locale(7) writes it ("de_DE.UTF-8"); "", "C" and "POSIX" are the order
  /// that no language in particular has. A name that ICU doesn't know has that order too.
  explicit IcuCollation(std::string_view locale = "");
  ~IcuCollation() override;

  int compare(std::string_view left, std::string_view right) override;
  std::string sortKey(std::string_view text) override;

 private:
  struct Collator;
  const Collator& collator();

  std::string mLocale;
  std::once_flag mOpened;
  std::unique_ptr<Collator> mCollator;
};

}  // namespace gatehall
