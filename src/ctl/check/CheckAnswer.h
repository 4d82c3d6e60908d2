#pragma once

#include "ctl/print/Answer.h"
#include "ctl/request/Host.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// What is wrong with the machine, or will surprise, and which doors it guards.
Answer answerAboutMachine(const Host& host);

/// The same of worlds, which have no doors; a file that can't be read is a finding.
Answer answerAboutWorlds(const Strings& files);

}  // namespace gatehall::ctl
