#include "ctl/doors/AtDoor.h"

#include <cstddef>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <utility>

#include "accounts/Verdict.h"
#include "base/Ascii.h"
#include "ctl/doors/DoorFindings.h"
#include "ctl/doors/DoorsAnswer.h"
#include "ctl/request/Verb.h"
#include "gatehall/base/PlatformException.h"
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

/// What comes out about one who is meant.
struct AtDoor {
  std::optional<std::uint32_t> userID{};
  std::optional<std::string> name{};  ///< absent: nobody has the id
  std::optional<bool> isAllowed{};    ///< absent: the rules have no say
  std::optional<std::string> rule{};
  std::optional<std::string> source{};
  std::optional<std::string> sentence{};  ///< that the person is told
  std::optional<std::string> reason{};    ///< why it is undecidable
};

/// The name service's name of who has the id, whom no directory of ours has; absent when nobody
/// has.
std::optional<std::string> nameOf(const Host& host, std::uint32_t userID) {
  // This machine's name service knows nobody of one under a folder.
  const bool isThis = host.machine() != nullptr && host.options().root.empty();
  const auto* entry = isThis ? getpwuid(userID) : nullptr;
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
  auto account = accountAtDoor(host.options(), host.log(), name);
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

/// Who stands before the door; absent for nobody.
std::optional<pam::Visitor> visitorMeant(const Host& host, const Meant& meant) {
  std::optional<std::string> name;
  auto userID = meant.userID;
  if (!meant.accounts.empty()) {
    const auto& account = meant.accounts.front();
    userID = account.userID;
    if (!account.name.empty()) name = account.name;
  } else if (userID) {
    name = nameOf(host, *userID);
  } else if (host.machine() != nullptr) {
    // The name service may know whom no directory of ours has.
    auto visitor = visitorNamed(host, 0, meant.operand);
    return visitor.userID ? std::optional(std::move(visitor)) : std::nullopt;
  }
  if (!name || !userID) return std::nullopt;
  return visitorNamed(host, *userID, *name);
}

AtDoor foundFor(const Host& host, const DoorState& door, const Meant& meant) {
  AtDoor found{.userID = meant.userID};
  const auto undecidable = [&found](std::string reason) {
    found.isAllowed = false;
    found.rule = kUndecidable;
    found.reason = std::move(reason);
  };
  try {
    if (!meant.undecidable.empty()) throw PlatformException(meant.undecidable);
    const auto visitor = visitorMeant(host, meant);
    if (visitor) {
      found.name = visitor->userName;
      found.userID = meant.accounts.empty() ? visitor->userID : meant.accounts.front().userID;
    } else if (!meant.userID) {
      found.name = meant.operand;
    }
    if (!door.unreadable.empty()) {
      undecidable(door.unreadable);
    } else if (door.passage.guard == Guard::NotGuarded) {
      found.rule = "not guarded";
    } else if (door.passage.guard == Guard::Shut) {
      found.isAllowed = false;
      found.rule = "shut";
    } else if (!visitor) {
      found.isAllowed = false;
      found.rule = verdictOn(host.accounts(), meant).rule;
    } else {
      for (const auto& line : door.guards) {
        decideIn(line, door.service, *visitor, found);
        if (!*found.isAllowed) break;
      }
    }
  } catch (const PlatformException& failure) {
    undecidable(failure.what());
  }
  return found;
}

Json jsonOf(const AtDoor& found) {
  Json json = {{"uid", orNull(found.userID)},        {"name", orNull(found.name)},
               {"allowed", orNull(found.isAllowed)}, {"rule", orNull(found.rule)},
               {"source", orNull(found.source)},     {"sentence", orNull(found.sentence)}};
  if (found.reason) json["reason"] = *found.reason;
  return json;
}

void addRows(const AtDoor& found, Table& table) {
  Cell allowed{"-"};
  if (found.isAllowed) {
    allowed = *found.isAllowed ? Cell{"yes", Tone::Good} : Cell{"no", Tone::Bad};
  }
  table.rows.push_back({{found.userID ? std::to_string(*found.userID) : "-"},
                        {found.name.value_or("-")},
                        allowed,
                        {found.rule.value_or("-")},
                        {found.source.value_or("-")}});
  if (!found.sentence) return;
  for (auto& line : linesOf(*found.sentence, kLongestLine))
    table.rows.push_back({{}, {std::move(line)}});
}

}  // namespace

DoorState doorNamed(const Host& host, const std::string& service) {
  if (!pam::isServiceName(service)) throw UsageError("'" + service + "' is no service's name");
  const auto name = ascii::lower(service);
  return host.machine() != nullptr ? doorState(host.options(), name) : guardedDoor(name);
}

Answer answersAtDoor(const Host& host, const DoorState& door, const std::vector<Meant>& asked) {
  Answer answer{.tables = {{.header = {"UID", "NAME", "ALLOWED", "RULE", "SOURCE"},
                            .fits = {Fit::Whole, Fit::Whole, Fit::Whole, Fit::Wrap, Fit::Wrap}}},
                .messages = host.filesHiddenFromUsers()};
  if (const auto finding = findingAt(door)) {
    const auto place = placeText(*finding);
    answer.messages.push_back((place.empty() ? "" : place + ": ") + finding->text);
  }
  auto users = Json::array();
  std::size_t allowed = 0;
  for (const auto& meant : asked) {
    const auto found = foundFor(host, door, meant);
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
      answer.messages.push_back(meant.operand + " is undecidable: " + *found.reason);
    }
  }
  answer.json = {{"door", doorJson(door)}, {"users", std::move(users)}};
  const bool isOpen = door.unreadable.empty() && door.passage.guard == Guard::NotGuarded;
  answer.tables.front().count =
      isOpen ? door.service + " is not guarded: whoever it lets in gets in"
             : std::to_string(allowed) + " of " + countText(asked.size(), "user") +
                   " may log in at " + door.service;
  return answer;
}

}  // namespace gatehall::ctl
