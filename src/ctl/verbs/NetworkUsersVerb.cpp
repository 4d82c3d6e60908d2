#include "ctl/verbs/UsersAnswer.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/access/UserAccess.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request& request) {
  return usersAnswer(host, request, UserAccess::sharedUserAccess()->allowedUsers(),
                     "no network users: everyone is denied, or they can't be had");
}

}  // namespace

Verb networkUsersVerb() {
  return {
      .name = "network-users",
      .summary = "The network users whom the allow and deny lists admit",
      .description =
          R"(Lists the users of the network directories whom the allow and deny lists admit, in the
directories' order.)",
      .example = "--world examples/school.world.json network-users",
      .run = run,
  };
}

}  // namespace gatehall::ctl
