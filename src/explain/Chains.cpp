#include "explain/Chains.h"

#include <algorithm>
#include <deque>
#include <unordered_set>
#include <utility>

#include "gatehall/directory/GroupConvenience.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

Chains::Chains(const Strings& guids) {
  const auto found = queryResults(
      searchNode(), equalTo({record::Users, record::Groups}, attribute::GUID, guids,
                            {std::string(attribute::RecordName), std::string(attribute::GUID)}));
  struct Group {
    std::shared_ptr<DirectoryRecord> record;
    std::size_t link;
  };
  std::deque<Group> open;
  std::unordered_set<std::string> seen;
  const auto addGroup = [&](const std::shared_ptr<DirectoryRecord>& group,
                            std::optional<std::size_t> from) {
    if (seen.insert(getGUID(*group).value_or("")).second)
      open.push_back({group, add(*group, from)});
  };
  for (const auto& each : found.value_or(Records())) {
    if (each->recordType() == record::Groups) {
      addGroup(each, std::nullopt);
    } else {
      addUser(*each, std::nullopt);
    }
  }
  while (!open.empty()) {
    const auto group = std::move(open.front());
    open.pop_front();
    for (const auto& user : users(*group.record).value_or(Records())) addUser(*user, group.link);
    for (const auto& nested : nestedGroups(*group.record).value_or(Records())) {
      addGroup(nested, group.link);
    }
  }
}

std::size_t Chains::add(DirectoryRecord& record, std::optional<std::size_t> from) {
  const auto names = record.valuesForAttribute(attribute::RecordName);
  mLinks.push_back({names && !names->empty() ? names->front() : std::string(),
                    from.value_or(mLinks.size()), getGUID(record).value_or("")});
  return mLinks.size() - 1;
}

void Chains::addUser(DirectoryRecord& user, std::optional<std::size_t> from) {
  const auto guid = getGUID(user).value_or("");
  if (!mUsers.contains(guid)) mUsers.emplace(guid, add(user, from));
}

std::optional<Chains::Chain> Chains::to(const std::string& guid) const {
  const auto user = mUsers.find(guid);
  if (user == mUsers.end()) return std::nullopt;
  Chain chain;
  for (auto at = user->second;; at = mLinks[at].from) {
    chain.names.push_back(mLinks[at].name);
    chain.entry = mLinks[at].guid;
    if (mLinks[at].from == at) break;
  }
  std::ranges::reverse(chain.names);
  return chain;
}

}  // namespace gatehall
