#include "linux/nss/LocalGroups.h"

#include <algorithm>

#include "linux/accounts/AccountFiles.h"
#include "linux/records/AccountID.h"

namespace gatehall::nss {

namespace {

constexpr std::size_t kGroupIDField = 2;

}  // namespace

bool LocalGroups::Groups::hold(const std::string& name, std::uint32_t id) const {
  const auto [begin, end] = idsOfNames.equal_range(name);
  return std::any_of(begin, end, [&](const auto& each) { return each.second == id; });
}

std::string LocalGroups::Groups::whyLike(const std::string& name, std::uint32_t id) const {
  if (idsOfNames.contains(name)) return "has the name of a local group";
  return ids.contains(id) ? "has the id " + std::to_string(id) + " of a local group" : "";
}

std::shared_ptr<const LocalGroups::Groups> LocalGroups::current() {
  const std::lock_guard lock(mMutex);
  const auto state = FileState::of(hostPath(mOptions, accountFiles::kGroup));
  if (mGroups && state && state == mState) return mGroups;
  auto groups = std::make_shared<Groups>();
  // A line that can't be read whole has its name all the same.
  accountFiles::scanRequired(mOptions, mFaults, accountFiles::kGroup,
                             [&](std::string_view line, std::uint64_t) {
                               const auto id = accountID(accountLine::field(line, kGroupIDField));
                               groups->idsOfNames.emplace(accountLine::name(line), id);
                               if (id) groups->ids.insert(*id);
                               return true;
                             });
  mState = state;
  mGroups = groups;
  return groups;
}

}  // namespace gatehall::nss
