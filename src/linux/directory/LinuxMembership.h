#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "gatehall/platform/MembershipService.h"

namespace gatehall {

/// Service access lists kept as groups: the list of service NAME is the group NAME-access of any
/// node that the directory covers. Identifiers are the 16 bytes of GUIDs; the identifier derived
/// from a user id alone is that id in a namespace of its own.
///
/// While a network node can't be asked, who is listed by the groups of the others is admitted, and
/// nobody else. Where no other node has such a group, that counts as no access list for local
/// accounts, and network accounts are refused. The log says why somebody is refused without an
/// answer.
///
/// Of many questions in a row each needs the same list: it is kept for a tenth of a second.
/// From any thread.
class LinuxMembership final : public MembershipService {
 public:
  /// The directory and the log have to outlive the service.
  LinuxMembership(DirectoryService& directory, Log& log) : mDirectory(directory), mLog(log) {}

  /// The status of what the directory could not answer.
  static constexpr int kUnavailable = 1;
  /// The status of a text that is no GUID.
  static constexpr int kMalformed = 3;

  int guidToIdentifier(std::string_view guid, Identifier& identifier) override;
  int userIDToIdentifier(std::uint32_t userID, Identifier& identifier) override;
  int checkServiceMembership(const Identifier& identifier, std::string_view service,
                             bool& isMember) override;

  /// What could be found, and why that may not be all.
  struct Found {
    std::vector<std::shared_ptr<DirectoryRecord>> records;
    std::string missing;  ///< "": nothing is
  };

 private:
  /// The groups that are the service's list. Raises PlatformException.
  std::shared_ptr<const Found> accessList(std::string_view service);

  int refuse(std::string_view question, std::string_view why);

  DirectoryService& mDirectory;
  Log& mLog;
  std::mutex mMutex;
  unsigned mQuestions = 0;
  std::string mService;  ///< whose list is kept
  std::shared_ptr<const Found> mAccessList;
  std::chrono::steady_clock::time_point mAsked;
};

}  // namespace gatehall
