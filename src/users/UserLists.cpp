#include "gatehall/users/UserLists.h"

#include <array>
#include <utility>

#include "directory/FailureRegion.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall {

namespace {

constexpr std::array kMatchKinds = {MatchType::EqualToIgnoringCase, MatchType::EqualTo,
                                    MatchType::ContainsIgnoringCase, MatchType::Contains};

const std::shared_ptr<CachedUserList> kNoList;

}  // namespace

std::shared_ptr<CachedUserList> cachedUserListForName(const std::optional<std::string>& name,
                                                      std::int32_t userIDFilter,
                                                      const std::shared_ptr<DirectoryNode>& node,
                                                      MatchKindIndex matchKindIndex) {
  if (!name || !node) return nullptr;
  QueryDescription description =
      equalTo({record::Users}, attribute::RecordName, {*name}, CachedUser::desiredAttributes());
  description.match = kMatchKinds[matchKindIndex < kMatchKinds.size() ? matchKindIndex : 0];
  try {
    const auto query = node->query(std::move(description));
    return query ? cachedUserListForRecords(query->results(false), userIDFilter) : nullptr;
  } catch (const PlatformException&) {
    platform().log().error("Unable to create user list");
    return CachedUserList::cachedUserList();
  }
}

std::shared_ptr<CachedUserList> searchNodeUsersForName(const std::optional<std::string>& name,
                                                       std::int32_t userIDFilter,
                                                       MatchKindIndex matchKindIndex) {
  if (!name) return nullptr;
  return loggingFailure("Unable to find the users on the search node.", kNoList, [&] {
    return cachedUserListForName(name, userIDFilter, searchNode(), matchKindIndex);
  });
}

std::shared_ptr<CachedUserList> searchNodeUsersMatchingName(const std::optional<std::string>& name,
                                                            MatchKindIndex matchKindIndex) {
  return searchNodeUsersForName(name, kNoUserID, matchKindIndex);
}

std::shared_ptr<CachedUserList> localNodeUsers() {
  // The message speaks of the search node for this one too; administrators search logs for it.
  return loggingFailure("Unable to find the users on the search node.", kNoList, [] {
    return cachedUserListForName(std::string(attribute::AllRecords), kNoUserID, localNode(), 0);
  });
}

std::shared_ptr<CachedUserList> networkUsers() {
  return loggingFailure("Unable to find the network users.", kNoList, [] {
    auto list = CachedUserList::cachedUserList();
    const auto search = searchNode();
    const auto names = search ? search->subnodeNames() : std::nullopt;
    if (!names) return list;
    for (std::size_t position = kFirstNetworkNode; position < names->size(); ++position) {
      const auto records = queryResults(
          nodeWithName((*names)[position]),
          equalTo({record::Users}, attribute::RecordName, {std::string(attribute::AllRecords)},
                  CachedUser::desiredAttributes()));
      if (!records) continue;
      list->reserve(list->count() + records->size());
      for (const auto& record : *records) {
        list->addObject(CachedUser::cachedUserWithDirvoRecord(record));
      }
    }
    return list;
  });
}

}  // namespace gatehall
