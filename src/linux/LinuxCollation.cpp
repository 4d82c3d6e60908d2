#include "linux/LinuxCollation.h"

#include "linux/MachineLocale.h"

namespace gatehall {

int LinuxCollation::compare(std::string_view left, std::string_view right) {
  return present()->compare(left, right);
}

std::string LinuxCollation::sortKey(std::string_view text) { return present()->sortKey(text); }

std::shared_ptr<IcuCollation> LinuxCollation::present() {
  if (auto collation = mCollation.load()) return collation;
  return mCollation.storeIfEmpty(
      std::make_shared<IcuCollation>(machineLocale(mOptions, "LC_COLLATE")));
}

}  // namespace gatehall
