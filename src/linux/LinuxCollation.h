#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "gatehall/base/AtomicSharedPtr.h"
#include "gatehall/platform/Collation.h"
#include "linux/files/HostOptions.h"
#include "portable/text/IcuCollation.h"

namespace gatehall {

/// The order of names in the machine's locale (machineLocale), as it was when it was first needed
/// or last said to have changed. From any thread.
class LinuxCollation final : public Collation {
 public:
  explicit LinuxCollation(HostOptions options) : mOptions(std::move(options)) {}

  int compare(std::string_view left, std::string_view right) override;
  std::string sortKey(std::string_view text) override;

  void localeChanged() { mCollation.store(nullptr); }

 private:
  std::shared_ptr<IcuCollation> present();

  const HostOptions mOptions;
  AtomicSharedPtr<IcuCollation> mCollation;
};

}  // namespace gatehall
