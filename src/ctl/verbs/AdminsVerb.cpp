#include "ctl/print/UsersAnswer.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/users/GroupMembership.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request& request) {
  return usersAnswer(host.log(), request.json, adminGroupUsers(),
                     "there is no group \"admin\" on the local node");
}

}  // namespace

Verb adminsVerb() {
  return {
      .name = "admins",
      .summary = "The administrators: users of the local group \"admin\"",
      .description =
          R"(Lists the users of the local group "admin", those of nested groups included. They may log in
whatever the allow and deny lists say.)",
      .example = "--world examples/hidden-admins.world.json admins",
      .run = run,
  };
}

}  // namespace gatehall::ctl
