#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "portable/formats/MessageCatalogue.h"

namespace gatehall::greeter {

/// A layout that the X server's keyboard is set up with.
struct KeyboardLayout {
  std::string code;     ///< "de", as it can stand in a small place
  std::string variant;  ///< "nodeadkeys"; mostly ""
  std::string name;     ///< "German (no dead keys)", in the greeter's language

  friend bool operator==(const KeyboardLayout&, const KeyboardLayout&) = default;
};

/// The layouts of an X keyboard's names (_XKB_RULES_NAMES: rules, model, layouts, variants and
/// options, each with a zero behind it), at most four. What they are called is looked up in the
/// list of XKB's rules, a file such as evdev.lst, and in XKB's own catalogue; one that isn't there
/// is called by its code.
std::vector<KeyboardLayout> layoutsIn(std::string_view names, std::string_view list,
                                      const MessageCatalogue& words);

}  // namespace gatehall::greeter
