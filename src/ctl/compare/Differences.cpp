#include "ctl/compare/Differences.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

namespace gatehall::ctl {

namespace {

constexpr std::string_view kNoAccount = "no such account";
constexpr std::string_view kAway = "directory away";

using Accounts = std::vector<KnownAccount>;
/// What two accounts have to have in common; empty: nothing can go with this one.
using Key = std::function<std::string(const KnownAccount&)>;

std::string guidInNode(const KnownAccount& account) {
  return account.guid.empty() ? std::string() : account.guid + ' ' + account.node;
}
std::string guidAlone(const KnownAccount& account) { return account.guid; }
std::string nameInNode(const KnownAccount& account) {
  return account.name.empty() ? std::string() : account.node + '\n' + account.name;
}

/// Which account of the one machine goes with which of the other.
class Pairs {
 public:
  Pairs(const Accounts& before, const Accounts& after)
      : mBefore(before), mAfter(after), mOf(before.size()), mIsTaken(after.size()) {
    for (const auto& key : {Key(guidInNode), Key(guidAlone), Key(nameInNode)}) pair(key);
  }

  /// Of the account at that place before, the place after.
  std::optional<std::size_t> of(std::size_t before) const { return mOf[before]; }
  bool isTaken(std::size_t after) const { return mIsTaken[after]; }

 private:
  void pair(const Key& key) {
    std::unordered_map<std::string, std::vector<std::size_t>> free;  // the last one first
    for (auto place = mAfter.size(); place-- > 0;) {
      auto text = mIsTaken[place] ? std::string() : key(mAfter[place]);
      if (!text.empty()) free[std::move(text)].push_back(place);
    }
    for (std::size_t place = 0; place < mBefore.size(); ++place) {
      if (mOf[place]) continue;
      const auto found = free.find(key(mBefore[place]));
      if (found == free.end() || found->second.empty()) continue;
      mOf[place] = found->second.back();
      mIsTaken[found->second.back()] = true;
      found->second.pop_back();
    }
  }

  const Accounts& mBefore;
  const Accounts& mAfter;
  std::vector<std::optional<std::size_t>> mOf;
  std::vector<bool> mIsTaken;
};

Standing standingOf(const std::optional<KnownAccount>& account, bool isAway) {
  if (account) return account->standing;
  return {.rule = std::string(isAway ? kAway : kNoAccount)};
}

bool isAway(const KnownAccount& account, const MachineState& machine) {
  return std::ranges::find(machine.missingNodes, account.node) != machine.missingNodes.end();
}

Json standingJson(const Standing& standing) {
  const auto text = [](const std::string& each) { return each.empty() ? Json() : Json(each); };
  return {{"allowed", standing.isAllowed},
          {"rule", standing.rule},
          {"source", text(standing.source)},
          {"reason", text(standing.reason)},
          {"listed", standing.isListed}};
}

Json loginJson(const Standing& before, const Standing& after) {
  if (before.isAllowed != after.isAllowed) return after.isAllowed ? "gains" : "loses";
  return before.rule != after.rule || before.source != after.source ? Json("rule") : Json();
}

Json listJson(const Standing& before, const Standing& after) {
  if (before.isListed == after.isListed) return nullptr;
  return after.isListed ? "appears" : "disappears";
}

}  // namespace

Comparison compared(const MachineState& before, const MachineState& after) {
  Comparison result;
  const Pairs pairs(before.accounts, after.accounts);
  for (std::size_t place = 0; place < before.accounts.size(); ++place) {
    const auto& account = before.accounts[place];
    const auto other = pairs.of(place);
    ++result.accounts;
    if (!other) {
      result.differences.push_back(
          {.before = account, .after = {}, .isAway = isAway(account, after)});
    } else if (!account.standing.isAs(after.accounts[*other].standing)) {
      result.differences.push_back({.before = account, .after = after.accounts[*other]});
    }
  }
  for (std::size_t place = 0; place < after.accounts.size(); ++place) {
    if (pairs.isTaken(place)) continue;
    ++result.accounts;
    const auto& account = after.accounts[place];
    result.differences.push_back(
        {.before = {}, .after = account, .isAway = isAway(account, before)});
  }
  return result;
}

Json differenceJson(const Difference& difference) {
  const auto& account = difference.after ? *difference.after : *difference.before;
  const auto before = standingOf(difference.before, difference.isAway);
  const auto after = standingOf(difference.after, difference.isAway);
  const auto text = [](const std::string& each) { return each.empty() ? Json() : Json(each); };
  const bool isKnown = !difference.isAway;
  return {{"name", text(account.name)},
          {"longName", text(account.longName)},
          {"uid", orNull(account.userID)},
          {"guid", text(account.guid)},
          {"node", text(account.node)},
          {"login", isKnown ? loginJson(before, after) : Json()},
          {"list", isKnown ? listJson(before, after) : Json()},
          {"before", standingJson(before)},
          {"after", standingJson(after)}};
}

}  // namespace gatehall::ctl
