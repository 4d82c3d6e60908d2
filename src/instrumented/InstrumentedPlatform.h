#pragma once

#include <memory>
#include <vector>

#include "gatehall/platform/Platform.h"
#include "instrumented/Fault.h"
#include "instrumented/Trace.h"

namespace gatehall {

/// Services that take the place of the host's.
struct SubstituteServices {
  std::shared_ptr<LoginService> loginService{};
  std::shared_ptr<Log> log{};
  std::shared_ptr<TextSystem> text{};
  std::shared_ptr<PreferenceStore> preferences{};
  std::shared_ptr<PropertyListReader> propertyLists{};
};

/// A host around another one: records the operations asked of it and makes the chosen ones fail. It
/// fits over any host; what it does not record or fail goes straight to the host, whose services
/// are asked for no earlier than a caller needs them. From the threads that the services' headers
/// name.
///
/// Operations by their names in faults and traces, what a trace says of each, and what an absent
/// answer is. The host is not asked when an operation fails; a failed operation is in the trace
/// like any other.
///
///   operation                arguments: absent answer
///   defaultSession           none: nullptr
///   nodeByType               type ("local", "search"): nullptr
///   nodeByName               name: nullptr
///   nodeName                 node: nullopt
///   subnodeNames             node: nullopt
///   unreachableSubnodeNames  node: nullopt
///   recordByTypeAndName      node, type, name, attributes: nullptr
///   query                    node, recordTypes, attribute, match, values, returning,
///                            maximumResults: nullptr
///   queryResults             node, attribute, values, allowPartial: nullopt
///   recordType               record: ""
///   valuesForAttribute       record, attribute: nullopt
///   recordDetails            record, attributes: nullopt
///   setValue                 record, attribute, value: false
///   verifyPassword           record: false, no error
///   changePassword           record: false, no error
///   isMember                 group, member: false
///   passwordPolicy           record: nullopt
///   synchronize              record: false
///   effectiveUserID          none: 0xFFFFFFFE
///   copyCurrentSession       none: nullopt
///   copySessionList          none: nullopt
///   switchToLoginScreen      none: not performed, status 1
///   switchToUser             user, UserPasswordKey (true, when given): not performed, status 1
///   guidToIdentifier         guid: status 1
///   userIDToIdentifier       userID: status 1
///   checkServiceMembership   service, identifier (hexadecimal): status 1
///   mayLogInNow              userID: allowed, no date
///   copyApplicationValue     key, domain: nullopt
///   applicationBoolean       key, domain: false, does not exist
///   synchronizePreferences   domain: nothing done
///   readPropertyList         path: nullopt
///
/// record, group, member and user are a first RecordName; match is "equal to" or "contains", either
/// of them with " ignoring case". The value of a Password attribute is "(not recorded)".
class InstrumentedPlatform : public Platform {
 public:
  using Substitutes = SubstituteServices;

  /// Raises std::invalid_argument for a fault whose operation is unknown. No trace: nothing is
  /// recorded, at no cost.
  explicit InstrumentedPlatform(std::shared_ptr<Platform> host, std::vector<Fault> faults = {},
                                std::shared_ptr<Trace> trace = nullptr,
                                Substitutes substitutes = {});
  ~InstrumentedPlatform() override;

  Process& process() override;
  DirectoryService& directory() override;
  SessionService& sessions() override;
  LoginService& loginService() override;
  MembershipService& membership() override;
  PreferenceStore& preferences() override;
  PropertyListReader& propertyLists() override;
  NotificationCenter& notificationCenter() override;
  NotificationCenter& distributedNotificationCenter() override;
  Clock& clock() override;
  Log& log() override;
  Collation& collation() override;
  ParentalControls& parentalControls() override;
  SystemNotifications& systemNotifications() override;
  RunLoop& runLoop() override;
  TextSystem& text() override;
  Markup& markup() override;
  void endThreads() override { mHost->endThreads(); }

 private:
  std::shared_ptr<Platform> mHost;
  Substitutes mSubstitutes;
  std::unique_ptr<Process> mProcess;
  std::unique_ptr<DirectoryService> mDirectory;
  std::unique_ptr<SessionService> mSessions;
  std::unique_ptr<LoginService> mLoginService;
  std::unique_ptr<MembershipService> mMembership;
  std::unique_ptr<PreferenceStore> mPreferences;
  std::unique_ptr<PropertyListReader> mPropertyLists;
  std::unique_ptr<ParentalControls> mParentalControls;
};

}  // namespace gatehall
