#include <algorithm>

#include "ctl/print/UsersAnswer.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/access/UserAccess.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request& request) {
  const auto users = UserAccess::sharedUserAccess()->allowedUsers();
  auto answer = usersAnswer(host.log(), request.json, users,
                            "no network users: everyone is denied, or they can't be had");
  // There is no list either when everyone is denied, and that is no failure.
  const bool hasFailed =
      !users && std::ranges::any_of(host.log().entries(), [](const RecordingLog::Entry& entry) {
        return entry.level == RecordingLog::Level::Error;
      });
  if (hasFailed) answer.status = ExitStatus::HostFailure;
  return answer;
}

}  // namespace

Verb networkUsersVerb() {
  return {
      .name = "network-users",
      .summary = "The network users whom the allow and deny lists admit",
      .description =
          R"(Lists the users of the network directories whom the allow and deny lists admit, in the
directories' order. Exit status 3 when a directory can't tell.)",
      .example = "--world examples/school.world.json network-users",
      .run = run,
  };
}

}  // namespace gatehall::ctl
