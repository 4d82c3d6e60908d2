#include "ctl/doors/DoorsAnswer.h"
#include "ctl/verbs/Verbs.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host& host, const Request&) { return answerAboutDoors(host); }

}  // namespace

Verb checkVerb() {
  return {
      .name = "check",
      .summary = "What is wrong with the policy, and which doors it guards",
      .description =
          R"(Lists the doors of this machine, the services of pam.d(5) that open sessions, with whether the
module pam_gatehall.so guards each: for everybody who is let in, not for everybody, or not at
all; a door that is shut lets nobody in. Then what is wrong, where, and what to do about it.
Exit status 0 when nothing is, 1 with warnings only, 2 with errors. A world has no doors.)",
      .example = "check",
      .run = run,
  };
}

}  // namespace gatehall::ctl
