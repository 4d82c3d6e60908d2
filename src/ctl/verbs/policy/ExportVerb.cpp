#include "ctl/export/Anonymous.h"
#include "ctl/export/Exported.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request& request) {
  auto world = exported(host, request.has("--all") ? Extent::All : Extent::Reached);
  const bool isAnonymous = request.has("--anonymous");
  if (isAnonymous) world = anonymous(world, platform().collation());
  return {.json = {{"world", world.world}},
          .text = request.json ? std::string() : worldText(world),
          .tellsLog = isAnonymous,  // it would name somebody
          .messages = world.unknown};
}

}  // namespace

Verb exportVerb() {
  return {
      .name = "export",
      .options = {{"--all", "", "Bring along all that the network's directories hold"},
                  {"--anonymous", "", "Put stand-ins for names, GUIDs and all other words"}},
      .summary = "The machine as a world file, to try a policy on",
      .description =
          R"(Prints the machine as it is now as a world file, which --world takes: accounts and groups,
sessions, limits, preferences, managed settings and directories. There is no password in it
and no hash, only which passwords are empty. Of network directories it holds whom the allow
and deny lists, the access group, the administrators and the sessions name, or everything
with --all; one that is away is away in the world. What this run can't know stands at the
beginning of the file and on standard error.

With --anonymous, for a report to others, everything that somebody chose has a stand-in: names,
GUIDs, pictures, homes, directories and servers. User and group ids, times and the settings
that the rules read stay, so that the answers do.)",
      .example = "--world examples/lab.world.json export --anonymous",
      .run = run,
  };
}

}  // namespace gatehall::ctl
