#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "ctl/doors/AtDoor.h"
#include "ctl/request/UserID.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/access/LoginDecision.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall::ctl {

namespace {

/// In place of a rule.
constexpr std::string_view kUndecidable = "undecidable";

/// What came out about one user id.
struct Finding {
  std::uint32_t userID;
  std::shared_ptr<CachedUser> user{};  ///< nullptr: nobody was found
  std::optional<LoginDecision> decision{};
  std::optional<std::string> undecidable{};  ///< why the host can't tell

  bool isAllowed() const { return decision && decision->allowed(); }
};

Finding decide(const Host& host, std::int32_t userID) {
  Finding finding{.userID = static_cast<std::uint32_t>(userID)};
  finding.user = cachedUserForUID(userID);
  if (!finding.user) {
    if (host.machine() != nullptr) finding.undecidable = whyUserIsUnknown(userID);
    return finding;
  }
  try {
    finding.decision = UserAccess::sharedUserAccess()->decideLogin(*finding.user);
  } catch (const PlatformException& failure) {
    finding.undecidable = failure.what();
  }
  return finding;
}

Json jsonOf(const Finding& finding) {
  Json json = {{"uid", finding.userID},
               {"found", finding.user != nullptr},
               {"allowed", finding.isAllowed()},
               {"rule", nullptr},
               {"source", nullptr}};
  if (finding.decision) {
    json["rule"] = description(finding.decision->rule);
    if (finding.decision->source) json["source"] = description(*finding.decision->source);
  }
  if (finding.undecidable) {
    json["rule"] = kUndecidable;
    json["reason"] = *finding.undecidable;
  }
  return json;
}

std::vector<Cell> rowOf(const Finding& finding, const Json& json) {
  const auto name = finding.user ? cellText(orNull(finding.user->shortName())) : "-";
  const auto rule = json.at("rule").is_null() ? "not found" : cellText(json.at("rule"));
  const Cell allowed = finding.isAllowed() ? Cell{"yes", Tone::Good} : Cell{"no", Tone::Bad};
  return {{std::to_string(finding.userID)},
          {name},
          allowed,
          {rule},
          {finding.decision ? cellText(json.at("source")) : "-"}};
}

Answer run(const Host& host, const Request& request) {
  std::vector<std::int32_t> userIDs;
  for (const auto& operand : request.operands) userIDs.push_back(userIDOperand(operand));
  if (const auto service = request.option("--at")) {
    return answersAtDoor(host, doorNamed(host, *service), userIDs);
  }

  Answer answer{.json = Json::array(),
                .tables = {{.header = {"UID", "NAME", "ALLOWED", "RULE", "SOURCE"}}},
                .messages = host.filesHiddenFromUsers()};
  std::size_t allowed = 0;
  bool isUndecidable = false;
  for (const auto userID : userIDs) {
    const auto finding = decide(host, userID);
    auto json = jsonOf(finding);
    answer.tables.front().rows.push_back(rowOf(finding, json));
    answer.json.push_back(std::move(json));
    if (finding.isAllowed()) ++allowed;
    if (!finding.undecidable) continue;
    isUndecidable = true;
    answer.messages.push_back(std::to_string(finding.userID) + " is " + std::string(kUndecidable) +
                              ": " + *finding.undecidable);
  }
  answer.tables.front().count =
      std::to_string(allowed) + " of " + countText(userIDs.size(), "user") + " may log in";
  if (allowed < userIDs.size()) answer.status = ExitStatus::No;
  if (isUndecidable) answer.status = ExitStatus::HostFailure;
  return answer;
}

}  // namespace

Verb canLogInVerb() {
  return {
      .name = "can-log-in",
      .operands = Verb::Operands::OneOrMore,
      .operandName = "UID",
      .options = {{"--at", "SERVICE", "What the door of that PAM service answers"}},
      .summary = "Whether users may log in here, and the rule that decides",
      .description =
          R"(Says of each user id whether that user may log in here, which rule decides, and where the
setting behind the rule comes from. An account that nobody can log in with, and a local one
that the service access list leaves out, is not found. Exit status 1 when anyone may not or
is not found. Where a directory or a file that the answer needs can't be read, it is
undecidable: nobody is let in, the reason is told, and the exit status is 3. Root is also
told which of the policy's files other users' programs, such as gatehall-switch, can't read.

With --at it is what the door of a PAM service (pam.d(5): login, sshd, lightdm) answers to who has
passed the password there, with the arguments that the module pam_gatehall.so has in its stack,
and the sentence that the person is told. Root and local administrators pass local doors. Where
the module is not in the account stack, or its arguments leave the service out, the door is not
guarded: whoever the service lets in gets in, the rules have no say, and the exit status is 1.
A world has no PAM: there every door that the module guards by default is guarded by it, without
arguments.)",
      .example = "--world examples/lab.world.json can-log-in 1000 20001",
      .run = run,
  };
}

}  // namespace gatehall::ctl
