#include "access/UserAccess.h"
#include "ctl/LogEntries.h"
#include "ctl/UserEntries.h"
#include "ctl/Verbs.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request&) {
  Answer answer{.tellsLog = true};
  answer.json["users"] = usersJson(UserAccess::sharedUserAccess()->visibleUsersList());
  answer.json["log"] = logJson(host.log());
  answer.tables = {usersTable(answer.json["users"], "no list of users can be had"),
                   logTable(host.log())};
  return answer;
}

}  // namespace

Verb usersVerb() {
  return {
      .name = "users",
      .summary = "The users whom the login screen shows",
      .description =
          "Lists the users whom a login screen shows, in its order: local users, less those "
          "whom the\npreferences hide, and whoever is logged in.",
      .example = "--world examples/hidden-admins.world.json users",
      .run = run,
  };
}

}  // namespace gatehall::ctl
