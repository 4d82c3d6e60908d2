#pragma once

#include <string>

#include "pam/DoorDecision.h"

namespace gatehall::pam {

/// What somebody who is not let in is told, one sentence or two, in UTF-8: "You may not log in on
/// this computer: …". It tells no more than the rule, and of login hours when they begin again, by
/// the machine's local time. Empty for who is admitted. In the language of the process's messages
/// (gettext(3)), catalogue "gatehall".
std::string sentenceFor(const DoorDecision& decision, Date now);

/// The same when the module's arguments or its program leave nothing to decide by.
std::string undecidableSentence();

/// Has the process, for good, speak the language of that locale's name ("de_AT.UTF-8"), whether or
/// not the machine has the locale: a catalogue is enough. From the only thread.
void speak(const std::string& localeName);

}  // namespace gatehall::pam
