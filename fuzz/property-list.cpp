// Property lists, XML and binary.

#include "fuzz/Input.h"
#include "portable/formats/PropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  try {
    parsePropertyList(fuzz::text(data, size)).description();
  } catch (const MalformedPropertyList& error) {
    fuzz::require(*error.what() != '\0');
  }
  return 0;
}
