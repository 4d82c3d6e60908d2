#include <cstdint>

#include "ctl/request/UserID.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/access/LoginDecision.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall::ctl {

namespace {

/// Adds one user's line; whether the user may log in.
bool addDecision(std::int32_t userID, const Request& request, Answer& answer) {
  const auto uid = static_cast<std::uint32_t>(userID);
  const auto user = cachedUserForUID(userID);
  if (!user) {
    answer.json.push_back({{"uid", uid},
                           {"found", false},
                           {"allowed", false},
                           {"rule", nullptr},
                           {"source", nullptr}});
    answer.tables.front().rows.push_back(
        {{std::to_string(uid)}, {"-"}, {"no", Tone::Bad}, {"not found"}, {"-"}});
    return false;
  }
  const auto decision = UserAccess::sharedUserAccess()->decideLogin(*user);
  const auto source = decision.source ? Json(description(*decision.source)) : Json();
  const std::string rule = description(decision.rule);
  answer.json.push_back({{"uid", uid},
                         {"found", true},
                         {"allowed", decision.allowed()},
                         {"rule", rule},
                         {"source", source}});
  if (!request.json) {
    const Cell allowed = decision.allowed() ? Cell{"yes", Tone::Good} : Cell{"no", Tone::Bad};
    answer.tables.front().rows.push_back({{std::to_string(uid)},
                                          {cellText(orNull(user->shortName()))},
                                          allowed,
                                          {rule},
                                          {cellText(source)}});
  }
  return decision.allowed();
}

Answer run(const Host&, const Request& request) {
  std::vector<std::int32_t> userIDs;
  for (const auto& operand : request.operands) userIDs.push_back(userIDOperand(operand));

  Answer answer{.json = Json::array(),
                .tables = {{.header = {"UID", "NAME", "ALLOWED", "RULE", "SOURCE"}}}};
  std::size_t allowed = 0;
  for (const auto userID : userIDs) {
    if (addDecision(userID, request, answer)) ++allowed;
  }
  answer.tables.front().count =
      std::to_string(allowed) + " of " + countText(userIDs.size(), "user") + " may log in";
  if (allowed < userIDs.size()) answer.status = ExitStatus::No;
  return answer;
}

}  // namespace

Verb canLogInVerb() {
  return {
      .name = "can-log-in",
      .operands = Verb::Operands::OneOrMore,
      .operandName = "UID",
      .summary = "Whether users may log in here, and the rule that decides",
      .description =
          R"(Says of each user id whether that user may log in here, which rule decides, and where the
setting behind the rule comes from. An account that nobody can log in with, and a local one
that the service access list leaves out, is not found. Exit status 1 when anyone may not or
is not found.)",
      .example = "--world examples/lab.world.json can-log-in 1000 20001",
      .run = run,
  };
}

}  // namespace gatehall::ctl
