#include "linux/directory/LinuxMembership.h"

#include <string>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

namespace {

/// Who asks only a few times hears of every change at once.
constexpr unsigned kQuestionsUntilListIsKept = 4;
constexpr std::chrono::milliseconds kKept{100};

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

/// The records of the search node with that value, asked for nothing but the listed kinds.
Records find(DirectoryService& directory, std::string_view type, std::string_view kind,
             std::string_view value, const Strings& returning) {
  const auto session = directory.defaultSession();
  const auto node = session ? session->nodeByType(NodeType::Search) : nullptr;
  const auto query = node ? node->query({{std::string(type)},
                                         std::string(kind),
                                         MatchType::EqualTo,
                                         {std::string(value)},
                                         returning,
                                         0})
                          : nullptr;
  auto found = query ? query->results(false) : std::nullopt;
  if (!found) throw PlatformException("The directory does not answer.");
  return std::move(*found);
}

}  // namespace

int LinuxMembership::guidToIdentifier(std::string_view guid, Identifier& identifier) {
  const auto bytes = parseUUID(guid);
  if (!bytes) return kMalformed;
  identifier = *bytes;
  return 0;
}

int LinuxMembership::userIDToIdentifier(std::uint32_t userID, Identifier& identifier) {
  // Any constant would do: it only has to be no machine's id.
  constexpr UUIDBytes kUserIDs{0x1d, 0x9b, 0x0c, 0x5e, 0x7a, 0x42, 0x4f, 0x0e,
                               0x9c, 0x31, 0x52, 0x88, 0xe0, 0x6d, 0xb4, 0x17};
  const auto text = std::to_string(userID);
  try {
    const auto users =
        find(mDirectory, record::Users, attribute::UniqueID, text, {std::string(attribute::GUID)});
    for (const auto& user : users) {
      const auto guids = user->valuesForAttribute(attribute::GUID);
      if (guids && !guids->empty()) return guidToIdentifier(guids->front(), identifier);
    }
  } catch (const PlatformException&) {
    return kUnavailable;
  }
  identifier = nameBasedUUID(kUserIDs, text);
  return 0;
}

std::shared_ptr<const Records> LinuxMembership::accessList(std::string_view service) {
  // A question may take long, and what it finds is as old as the question.
  const auto asked = std::chrono::steady_clock::now();
  {
    const std::lock_guard lock(mMutex);
    if (mAccessList && mService == service && asked - mAsked < kKept) return mAccessList;
  }
  auto found = std::make_shared<const Records>(find(
      mDirectory, record::Groups, attribute::RecordName, std::string(service) + "-access", {}));
  const std::lock_guard lock(mMutex);
  if (mQuestions < kQuestionsUntilListIsKept) {
    ++mQuestions;
  } else if (!mAccessList || mAsked < asked) {
    mService = service;
    mAccessList = found;
    mAsked = asked;
  }
  return found;
}

int LinuxMembership::checkServiceMembership(const Identifier& identifier, std::string_view service,
                                            bool& isMember) {
  try {
    const auto groups = accessList(service);
    if (groups->empty()) return kNoAccessList;
    const auto users =
        find(mDirectory, record::Users, attribute::GUID, uuidText(identifier),
             {std::string(attribute::RecordName), std::string(attribute::PrimaryGroupID),
              std::string(attribute::MetaNodeLocation)});
    isMember = false;
    for (const auto& group : *groups) {
      for (const auto& user : users) isMember = isMember || group->isMember(*user);
    }
    return 0;
  } catch (const PlatformException&) {
    return kUnavailable;
  }
}

}  // namespace gatehall
