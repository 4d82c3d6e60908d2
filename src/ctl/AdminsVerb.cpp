#include "ctl/UserEntries.h"
#include "ctl/Verbs.h"
#include "directory/GroupMembership.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request& request) {
  return usersAnswer(host, request, adminGroupUsers(),
                     "there is no group \"admin\" on the local node");
}

}  // namespace

Verb adminsVerb() {
  return {
      .name = "admins",
      .summary = "The administrators: users of the local group \"admin\"",
      .description =
          "Lists the users of the local group \"admin\", those of nested groups "
          "included. They may log in\nwhatever the allow and deny lists say.",
      .example = "--world examples/hidden-admins.world.json admins",
      .run = run,
  };
}

}  // namespace gatehall::ctl
