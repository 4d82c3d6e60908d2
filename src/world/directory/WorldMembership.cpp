#include "world/directory/WorldMembership.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

namespace {

constexpr int kMalformed = 1;
constexpr int kUnavailable = 3;

/// What an identifier derived from a user id begins with; the id follows, highest byte first.
constexpr std::string_view kDerivedPrefix = "account of #";

Identifier derivedIdentifier(std::uint32_t userID) {
  Identifier identifier{};
  std::ranges::copy(kDerivedPrefix, identifier.begin());
  for (std::size_t byte = 0; byte < 4; ++byte) {
    identifier[15 - byte] = static_cast<std::uint8_t>(userID >> (8 * byte));
  }
  return identifier;
}

std::optional<std::uint32_t> userIDBehind(const Identifier& identifier) {
  if (!std::ranges::equal(kDerivedPrefix, std::span(identifier).first(kDerivedPrefix.size()))) {
    return std::nullopt;
  }
  std::uint32_t userID = 0;
  for (std::size_t byte = 12; byte < 16; ++byte) userID = userID << 8U | identifier[byte];
  return userID;
}

}  // namespace

int WorldMembership::guidToIdentifier(std::string_view guid, Identifier& identifier) {
  const auto found = parseUUID(guid);
  if (!found) return kMalformed;
  identifier = *found;
  return 0;
}

int WorldMembership::userIDToIdentifier(std::uint32_t userID, Identifier& identifier) {
  const auto guid = mDirectory.guidOfUser(userID);
  const auto found = guid ? parseUUID(*guid) : std::nullopt;
  identifier = found.value_or(derivedIdentifier(userID));
  return 0;
}

int WorldMembership::checkServiceMembership(const Identifier& identifier, std::string_view service,
                                            bool& isMember) {
  AccessList list;
  {
    const std::scoped_lock lock(mMutex);
    const auto found = mLists.find(service);
    if (found == mLists.end()) return kNoAccessList;
    list = found->second;
  }
  if (list.status != 0) return list.status;
  isMember = admits(list, identifier);
  if (isMember || list.missing.empty()) return 0;
  if (mLog != nullptr) {
    std::string text("the access list of ");
    mLog->error(text.append(service)
                    .append(" for ")
                    .append(uuidText(identifier))
                    .append(": ")
                    .append(list.missing));
  }
  return kUnavailable;
}

void WorldMembership::setAccessList(std::string_view service, AccessList list) {
  const std::scoped_lock lock(mMutex);
  mLists.insert_or_assign(std::string(service), std::move(list));
}

std::map<std::string, AccessList, std::less<>> WorldMembership::accessLists() {
  const std::scoped_lock lock(mMutex);
  return mLists;
}

void WorldMembership::removeAccessList(std::string_view service) {
  const std::scoped_lock lock(mMutex);
  const auto found = mLists.find(service);
  if (found != mLists.end()) mLists.erase(found);
}

bool WorldMembership::admits(const AccessList& list, const Identifier& identifier) {
  return std::ranges::any_of(list.members, [&](const auto& member) {
    if (const auto* guid = std::get_if<std::string>(&member)) {
      return parseUUID(*guid) == identifier || groupHolds(*guid, identifier);
    }
    Identifier ofMember;
    userIDToIdentifier(std::get<std::uint32_t>(member), ofMember);
    return ofMember == identifier;
  });
}

bool WorldMembership::groupHolds(std::string_view groupGUID, const Identifier& identifier) {
  if (const auto userID = userIDBehind(identifier)) {
    return mDirectory.groupHoldsUser(groupGUID, attribute::UniqueID, std::to_string(*userID));
  }
  return mDirectory.groupHoldsUser(groupGUID, attribute::GUID, uuidText(identifier));
}

}  // namespace gatehall
