#include "linux/nss/LocalGroups.h"

#include "linux/accounts/AccountFiles.h"
#include "linux/records/AccountID.h"

namespace gatehall::nss {

namespace {

constexpr std::size_t kGroupIDField = 2;

}  // namespace

std::shared_ptr<const LocalGroups::Groups> LocalGroups::current() {
  const std::lock_guard lock(mMutex);
  const auto state = FileState::of(hostPath(mOptions, accountFiles::kGroup));
  if (mGroups && state && state == mState) return mGroups;
  auto groups = std::make_shared<Groups>();
  // A line that can't be read whole has its name all the same.
  accountFiles::scanRequired(mOptions, mFaults, accountFiles::kGroup,
                             [&](std::string_view line, std::uint64_t) {
                               groups->names.emplace(accountLine::name(line));
                               const auto id = accountID(accountLine::field(line, kGroupIDField));
                               if (id) groups->ids.insert(*id);
                               return true;
                             });
  mState = state;
  mGroups = groups;
  return groups;
}

}  // namespace gatehall::nss
