#include "gatehall/users/UserLookup.h"

#include "directory/FailureRegion.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

const std::shared_ptr<CachedUser> kNobody;

}  // namespace

std::shared_ptr<CachedUserList> cachedUserListForRecords(const std::optional<Records>& records,
                                                         std::int32_t userIDFilter) {
  auto list = CachedUserList::cachedUserList();
  if (records) {
    if (userIDFilter == kNoUserID) list->reserve(records->size());
    const auto wanted = static_cast<std::uint32_t>(userIDFilter);
    for (const auto& record : *records) {
      if (userIDFilter == kNoUserID || getUID(*record) == wanted) {
        list->addObject(CachedUser::cachedUserWithDirvoRecord(record));
      }
    }
  }
  list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  return list;
}

std::shared_ptr<CachedUser> cachedUserForUID(std::int32_t userID) {
  return loggingFailure("Unable to find the users on the search node.", kNobody, [&] {
    const auto node = searchNode();
    if (!node) return kNobody;
    auto description = equalTo({record::Users}, attribute::UniqueID,
                               {std::to_string(static_cast<std::uint32_t>(userID))},
                               CachedUser::desiredAttributes());
    return loggingFailure("Unable to find user", kNobody, [&] {
      const auto query = node->query(std::move(description));
      if (!query) return kNobody;
      return cachedUserListForRecords(query->results(false), userID)->objectAtIndex(0);
    });
  });
}

std::optional<std::string> whyUserIsUnknown(std::int32_t userID) {
  try {
    // The records are looked at, too: what one lacks may be what can't be read.
    cachedUserListForRecords(
        queryResults(searchNode(), equalTo({record::Users}, attribute::UniqueID,
                                           {std::to_string(static_cast<std::uint32_t>(userID))},
                                           CachedUser::desiredAttributes())),
        userID);
    return std::nullopt;
  } catch (const PlatformException& failure) {
    return failure.what();
  }
}

std::shared_ptr<CachedUser> cachedUserForGUID(const std::string& guid) {
  return loggingFailure("Unable to find the user on the search node.", kNobody, [&] {
    const auto records = queryResults(
        searchNode(),
        equalTo({record::Users}, attribute::GUID, {guid}, CachedUser::desiredAttributes()));
    if (!records) return kNobody;
    // Unlike an unknown user id, an unknown GUID is a failure: the lists that name GUIDs are meant
    // to name somebody.
    if (records->empty()) throw PlatformException("No user has the GUID " + guid);
    return CachedUser::cachedUserWithDirvoRecord(records->front());
  });
}

std::shared_ptr<CachedUserList> cachedUserListForGUIDs(const std::optional<Strings>& guids) {
  if (!guids) return nullptr;
  auto list = CachedUserList::cachedUserList();
  for (const auto& guid : *guids) list->addObject(cachedUserForGUID(guid));
  return list;
}

}  // namespace gatehall
