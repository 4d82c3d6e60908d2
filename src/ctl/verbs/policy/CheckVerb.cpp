#include "ctl/check/CheckAnswer.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request&) { return answerAboutMachine(host); }

/// A world that is refused makes no host.
std::optional<Answer> runOnWorlds(const Host::Source& source, const Request& request) {
  auto files = request.operands;
  if (source.world) files.insert(files.begin(), *source.world);
  if (files.empty()) return std::nullopt;
  if (source.root) throw UsageError("--root: world files are on no machine");
  return answerAboutWorlds(files);
}

}  // namespace

Verb checkVerb() {
  return {
      .name = "check",
      .operands = Verb::Operands::Any,
      .operandName = "WORLD",
      .summary = "What is wrong or will surprise, and which doors are guarded",
      .description =
          R"(Lists the doors of this machine, the services of pam.d(5) that open sessions, with whether the
module pam_gatehall.so guards each: for everybody who is let in, not for everybody, or not at
all; a door that is shut lets nobody in. Then everything that is wrong with the machine's
settings, accounts and directories, or will surprise, each with its place and what to do about
it. Of world files, or of the one that --world names, everything that is wrong in them is
listed, with line, column and path; worlds have no doors.
Exit status 0 when nothing is, 1 with warnings only, 2 with errors.)",
      .example = "check examples/school.world.json examples/kiosk.world.json",
      .run = run,
      .runBefore = runOnWorlds,
  };
}

}  // namespace gatehall::ctl
