#include "ctl/doors/AtDoor.h"

#include <cstddef>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <utility>

#include "base/Ascii.h"
#include "ctl/doors/DoorFindings.h"
#include "ctl/doors/DoorsAnswer.h"
#include "ctl/request/Verb.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/UserLookup.h"
#include "linux/local/AccountAtDoor.h"
#include "pam/DoorDecision.h"
#include "pam/Sentence.h"
#include "pam/door/Services.h"

namespace gatehall::ctl {

namespace {

using pam::Guard;

/// Of a sentence: what a narrow terminal holds behind the first column.
constexpr std::size_t kLongestLine = 66;

/// What comes out about one user id.
struct AtDoor {
  std::uint32_t userID = 0;
  std::optional<std::string> name{};  ///< absent: nobody has the id
  std::optional<bool> isAllowed{};    ///< absent: the rules have no say
  std::optional<std::string> rule{};
  std::optional<std::string> source{};
  std::optional<std::string> sentence{};  ///< that the person is told
  std::optional<std::string> reason{};    ///< why it is undecidable
};

/// The login name of who has the id; absent when nobody has. Raises PlatformException.
std::optional<std::string> nameOf(const Host& host, std::uint32_t userID) {
  const auto records = queryResults(
      searchNode(), equalTo({record::Users}, attribute::UniqueID, {std::to_string(userID)}, {}));
  if (!records) throw PlatformException("The directory does not answer.");
  for (const auto& each : *records) {
    const auto names = each->valuesForAttribute(attribute::RecordName);
    if (names && !names->empty()) return names->front();
  }
  const auto* entry = host.machine() != nullptr ? getpwuid(userID) : nullptr;
  return entry != nullptr ? std::optional<std::string>(entry->pw_name) : std::nullopt;
}

/// Whether a world makes the user an administrator of its own.
bool isAdministratorInWorld(std::uint32_t userID) {
  try {
    const auto user = cachedUserForUID(static_cast<std::int32_t>(userID));
    return user && user->isLocalUser() && (user->isRootUser() || user->isInAdminGroup());
  } catch (const PlatformException& failure) {
    platform().log().error(failure.what());
    return false;
  }
}

pam::Visitor visitorNamed(const Host& host, std::uint32_t userID, const std::string& name) {
  if (host.machine() == nullptr) return {name, userID, isAdministratorInWorld(userID)};
  auto account = accountAtDoor(HostOptions(), host.log(), name);
  return {std::move(account.userName), account.userID, account.isLocalAdministrator};
}

/// As the guard decides in that line.
void decideIn(const GuardLine& line, const std::string& service, const pam::Visitor& visitor,
              AtDoor& found) {
  const auto arguments = argumentsOf(line);
  pam::Door door{
      .service = service, .isLocal = pam::isLocalDoor(service, ""), .hours = arguments.hours};
  if (arguments.fault != nullptr) {
    door.fault = textOf(line.place);
    door.fault.append(": \"").append(arguments.faulty).append("\" ").append(arguments.fault);
  }
  const auto decision = decideAtDoor(door, visitor);
  const auto record = recordOf(door, visitor, decision);
  const bool isUndecidable = decision.answer == DecisionRecord::Answer::Undecidable;
  found.isAllowed = decision.isAdmitted() || (isUndecidable && arguments.admitsUndecidable);
  found.rule = isUndecidable ? "undecidable" : record.rule;
  if (!record.source.empty()) found.source = record.source;
  if (isUndecidable) found.reason = decision.reason;
  if (!*found.isAllowed) {
    found.sentence = sentenceFor(decision, platform().clock().now());
  }
}

AtDoor foundFor(const Host& host, const DoorState& door, std::int32_t id) {
  AtDoor found{.userID = static_cast<std::uint32_t>(id)};
  const auto undecidable = [&found](std::string reason) {
    found.isAllowed = false;
    found.rule = "undecidable";
    found.reason = std::move(reason);
  };
  try {
    found.name = nameOf(host, found.userID);
    if (!door.unreadable.empty()) {
      undecidable(door.unreadable);
    } else if (door.passage.guard == Guard::NotGuarded) {
      found.rule = "not guarded";
    } else if (door.passage.guard == Guard::Shut) {
      found.isAllowed = false;
      found.rule = "shut";
    } else if (!found.name) {
      found.isAllowed = false;
    } else {
      const auto visitor = visitorNamed(host, found.userID, *found.name);
      for (const auto& line : door.guards) {
        decideIn(line, door.service, visitor, found);
        if (!*found.isAllowed) break;
      }
    }
  } catch (const PlatformException& failure) {
    undecidable(failure.what());
  }
  return found;
}

Json jsonOf(const AtDoor& found) {
  Json json = {{"uid", found.userID},
               {"name", orNull(found.name)},
               {"allowed", orNull(found.isAllowed)},
               {"rule", orNull(found.rule)},
               {"source", orNull(found.source)},
               {"sentence", orNull(found.sentence)}};
  if (found.reason) json["reason"] = *found.reason;
  return json;
}

void addRows(const AtDoor& found, Table& table) {
  Cell allowed{"-"};
  if (found.isAllowed) {
    allowed = *found.isAllowed ? Cell{"yes", Tone::Good} : Cell{"no", Tone::Bad};
  }
  table.rows.push_back({{std::to_string(found.userID)},
                        {found.name.value_or("-")},
                        allowed,
                        {found.rule.value_or("not found")},
                        {found.source.value_or("-")}});
  if (!found.sentence) return;
  for (auto& line : linesOf(*found.sentence, kLongestLine))
    table.rows.push_back({{}, {std::move(line)}});
}

}  // namespace

DoorState doorNamed(const Host& host, const std::string& service) {
  if (!pam::isServiceName(service)) throw UsageError("'" + service + "' is no service's name");
  const auto name = ascii::lower(service);
  return host.machine() != nullptr ? doorState(HostOptions(), name) : guardedDoor(name);
}

Answer answersAtDoor(const Host& host, const DoorState& door,
                     const std::vector<std::int32_t>& userIDs) {
  Answer answer{.tables = {{.header = {"UID", "NAME", "ALLOWED", "RULE", "SOURCE"}}},
                .messages = host.filesHiddenFromUsers()};
  if (const auto finding = findingAt(door)) {
    const auto place = placeText(*finding);
    answer.messages.push_back((place.empty() ? "" : place + ": ") + finding->text);
  }
  auto users = Json::array();
  std::size_t allowed = 0;
  for (const auto userID : userIDs) {
    const auto found = foundFor(host, door, userID);
    users.push_back(jsonOf(found));
    addRows(found, answer.tables.front());
    if (found.isAllowed.value_or(false)) {
      ++allowed;
    } else if (found.reason) {
      answer.status = ExitStatus::HostFailure;
    } else if (answer.status == ExitStatus::Done) {
      answer.status = ExitStatus::No;
    }
    if (found.reason && door.unreadable.empty()) {
      answer.messages.push_back(std::to_string(found.userID) + " is undecidable: " + *found.reason);
    }
  }
  answer.json = {{"door", doorJson(door)}, {"users", std::move(users)}};
  const bool isOpen = door.unreadable.empty() && door.passage.guard == Guard::NotGuarded;
  answer.tables.front().count =
      isOpen ? door.service + " is not guarded: whoever it lets in gets in"
             : std::to_string(allowed) + " of " + countText(userIDs.size(), "user") +
                   " may log in at " + door.service;
  return answer;
}

}  // namespace gatehall::ctl
