#include "ctl/compare/MachineState.h"

#include <unordered_map>
#include <utility>

#include "accounts/Accounts.h"
#include "accounts/Verdict.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall::ctl {

namespace {

Standing standingOf(const Verdict& verdict) {
  return {.isAllowed = verdict.allowed,
          .rule = verdict.rule,
          .source = verdict.source ? description(*verdict.source) : "",
          .reason = verdict.reason};
}

KnownAccount known(const Account& account, const Verdict& verdict) {
  return {.name = account.name,
          .longName = account.longName,
          .guid = account.guid,
          .node = account.node,
          .userID = account.userID,
          .standing = standingOf(verdict)};
}

std::string keyOf(std::uint32_t userID, const std::string& name) {
  return std::to_string(userID) + ' ' + name;
}

/// The accounts that are users of the machine, by user id and name.
class UserIndex {
 public:
  explicit UserIndex(MachineState& state) : mState(state) {}

  void add(const Verdict& verdict) {
    if (!verdict.user) return;
    const auto place = mState.accounts.size() - 1;
    mPlaces.emplace(keyOf(verdict.user->getUid(), verdict.user->shortName().value_or("")), place);
  }

  KnownAccount* find(const CachedUser& user) {
    const auto found = mPlaces.find(keyOf(user.getUid(), user.shortName().value_or("")));
    return found != mPlaces.end() ? &mState.accounts[found->second] : nullptr;
  }

 private:
  MachineState& mState;
  std::unordered_map<std::string, std::size_t> mPlaces;
};

/// Somebody who is shown and whom no directory lists.
KnownAccount unlisted(const Host& host, const CachedUser& user) {
  const auto meant = accountMeant(host.accounts(), std::to_string(user.getUid()));
  const auto verdict = verdictOn(host.accounts(), meant);
  if (!meant.accounts.empty()) return known(meant.accounts.front(), verdict);
  return {.name = user.shortName().value_or(""),
          .longName = user.longName().value_or(""),
          .guid = user.getGUID().value_or(""),
          .node = user.node().value_or(""),
          .userID = user.getUid(),
          .standing = standingOf(verdict)};
}

}  // namespace

MachineState machineState(const Host& host) {
  MachineState state;
  UserIndex users(state);
  std::vector<MissingAccounts> missing;
  for (const auto& account : allAccounts(&missing)) {
    const auto verdict = verdictOn(host.accounts(), account);
    state.accounts.push_back(known(account, verdict));
    users.add(verdict);
    if (verdict.decided == LoginRule::Administrator) ++state.administrators;
  }
  for (auto& each : missing) {
    state.missing.push_back(std::move(each.why));
    state.missingNodes.push_back(std::move(each.node));
  }
  const auto list = UserAccess::sharedUserAccess()->visibleUsersList();
  if (!list) return state;
  for (const auto& user : *list) {
    auto* account = users.find(*user);
    if (account == nullptr) account = &state.accounts.emplace_back(unlisted(host, *user));
    account->standing.isListed = true;
  }
  return state;
}

}  // namespace gatehall::ctl
