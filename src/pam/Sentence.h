#pragma once

#include <string>

#include "pam/DoorDecision.h"
#include "portable/formats/MessageCatalogue.h"

namespace gatehall::pam {

/// What somebody who is not let in is told, one sentence or two, in UTF-8: "You may not log in on
/// this computer: …". It tells no more than the rule, and of login hours when they begin again, by
/// the machine's local time. Empty for who is admitted. In the language of a catalogue
/// (languageOf), or in English. From any thread.
std::string sentenceFor(const DoorDecision& decision, Date now,
                        const MessageCatalogue& language = {});

/// The same when the module's arguments or its program leave nothing to decide by.
std::string undecidableSentence(const MessageCatalogue& language = {});

/// What Gatehall says to people in the language of that locale's name ("de_AT.UTF-8"), whether or
/// not the machine has the locale: a catalogue is enough. In English where there is none.
MessageCatalogue languageOf(const std::string& localeName);

}  // namespace gatehall::pam
