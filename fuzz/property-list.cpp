// Property lists, XML and binary.

#include "fuzz/Input.h"
#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListGrammar.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  try {
    checkPropertyListGrammar(fuzz::text(data, size));
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
