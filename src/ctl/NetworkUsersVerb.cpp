#include "access/UserAccess.h"
#include "ctl/LogEntries.h"
#include "ctl/UserEntries.h"
#include "ctl/Verbs.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request&) {
  Answer answer{.tellsLog = true};
  answer.json["users"] = usersJson(UserAccess::sharedUserAccess()->allowedUsers());
  answer.json["log"] = logJson(host.log());
  answer.tables = {usersTable(answer.json["users"],
                              "no network users: everyone is denied, or they can't be had"),
                   logTable(host.log())};
  return answer;
}

}  // namespace

Verb networkUsersVerb() {
  return {
      .name = "network-users",
      .summary = "The network users whom the allow and deny lists admit",
      .description =
          "Lists the users of the network directories whom the allow and deny lists "
          "admit, in the\ndirectories' order.",
      .example = "--world examples/school.world.json network-users",
      .run = run,
  };
}

}  // namespace gatehall::ctl
