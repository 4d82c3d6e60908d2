// Property lists, XML and binary.

#include "fuzz/Input.h"
#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListEdit.h"
#include "portable/formats/PropertyListGrammar.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  try {
    checkPropertyListGrammar(fuzz::text(data, size));
  } catch (const MalformedPropertyList& error) {
    fuzz::require(*error.what() != '\0');
  }
  try {
    PropertyListEdit edit(fuzz::text(data, size));
    const auto before = parsePropertyList(edit.text());
    // What is put in and taken out again leaves what was there.
    if (!before.dictionary()->contains("Put in")) {
      edit.append("Put in", {{"a", "--"}, {"b"}});
      edit.removeElement("Put in", 0);
      fuzz::require(parsePropertyList(edit.text()).dictionary()->at("Put in") == Value(Array{"b"}));
      edit.remove("Put in");
      fuzz::require(parsePropertyList(edit.text()) == before);
    }
  } catch (const MalformedPropertyList& error) {
    fuzz::require(*error.what() != '\0');
  }
  try {
    parsePropertyList(fuzz::text(data, size)).description();
  } catch (const MalformedPropertyList& error) {
    fuzz::require(*error.what() != '\0');
  }
  return 0;
}
