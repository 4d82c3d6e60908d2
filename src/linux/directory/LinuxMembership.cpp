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
using Found = LinuxMembership::Found;

/// The records of the node with that value, asked for nothing but the listed kinds.
Records find(DirectoryService& directory, NodeType where, const QueryDescription& description,
             bool allowPartial = false) {
  const auto session = directory.defaultSession();
  const auto node = session ? session->nodeByType(where) : nullptr;
  const auto query = node ? node->query(description) : nullptr;
  auto found = query ? query->results(allowPartial) : std::nullopt;
  if (!found) throw PlatformException("The directory does not answer.");
  return std::move(*found);
}

/// The same of the search node, and as much as can be had where a network node fails. The local
/// node's failures are raised.
Found findAll(DirectoryService& directory, const QueryDescription& description) {
  try {
    return {find(directory, NodeType::Search, description), {}};
  } catch (const PlatformException& failure) {
    const auto local = find(directory, NodeType::Local, description);
    auto part = find(directory, NodeType::Search, description, true);
    // The local node may have failed the second time.
    if (part.size() < local.size()) throw;
    return {std::move(part), failure.what()};
  }
}

QueryDescription userWithGUID(std::string guid) {
  return {{std::string(record::Users)},
          std::string(attribute::GUID),
          MatchType::EqualTo,
          {std::move(guid)},
          {std::string(attribute::RecordName), std::string(attribute::PrimaryGroupID),
           std::string(attribute::MetaNodeLocation)},
          0};
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
    const auto users = find(mDirectory, NodeType::Search,
                            {{std::string(record::Users)},
                             std::string(attribute::UniqueID),
                             MatchType::EqualTo,
                             {text},
                             {std::string(attribute::GUID)},
                             0});
    for (const auto& user : users) {
      const auto guids = user->valuesForAttribute(attribute::GUID);
      if (!guids || guids->empty()) continue;
      const int status = guidToIdentifier(guids->front(), identifier);
      // A GUID of zeros is none, and whoever has no identifier is asked for nothing.
      if (status != 0 || identifier != Identifier{}) return status;
    }
  } catch (const PlatformException& failure) {
    return refuse("user id " + text, failure.what());
  }
  identifier = nameBasedUUID(kUserIDs, text);
  return 0;
}

std::shared_ptr<const Found> LinuxMembership::accessList(std::string_view service) {
  // A question may take long, and what it finds is as old as the question.
  const auto asked = std::chrono::steady_clock::now();
  {
    const std::lock_guard lock(mMutex);
    if (mAccessList && mService == service && asked - mAsked < kKept) return mAccessList;
  }
  auto found =
      std::make_shared<const Found>(findAll(mDirectory, {{std::string(record::Groups)},
                                                         std::string(attribute::RecordName),
                                                         MatchType::EqualTo,
                                                         {std::string(service) + "-access"},
                                                         {},
                                                         0}));
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

int LinuxMembership::refuse(std::string_view question, std::string_view why) {
  mLog.error(std::string(question) + ": " + std::string(why));
  return kUnavailable;
}

int LinuxMembership::checkServiceMembership(const Identifier& identifier, std::string_view service,
                                            bool& isMember) {
  const auto guid = uuidText(identifier);
  const auto question = "the access list of " + std::string(service) + " for " + guid;
  const auto who = userWithGUID(guid);
  isMember = false;
  try {
    const auto list = accessList(service);
    if (list->records.empty()) {
      if (list->missing.empty()) return kNoAccessList;
      // There may be one that can't be seen now: that of a machine that is to stay closed without
      // its network is local.
      const bool isLocal = !find(mDirectory, NodeType::Local, who).empty();
      return isLocal ? kNoAccessList : refuse(question, list->missing);
    }
    const auto users = findAll(mDirectory, who);
    auto missing = list->missing.empty() ? users.missing : list->missing;
    for (const auto& group : list->records) {
      for (const auto& user : users.records) {
        try {
          if (group->isMember(*user)) isMember = true;
        } catch (const PlatformException& failure) {
          missing = failure.what();
        }
      }
    }
    if (isMember || missing.empty()) return 0;
    return refuse(question, missing);
  } catch (const PlatformException& failure) {
    return refuse(question, failure.what());
  }
}

}  // namespace gatehall
