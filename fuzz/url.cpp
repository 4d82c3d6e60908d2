// URLs.

#include "fuzz/Input.h"
#include "portable/formats/UrlReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  const auto text = fuzz::text(data, size);
  if (const auto url = readURL(text)) {
    fuzz::require(url->absoluteText == text);
    fuzz::require(text.starts_with(url->scheme + ":"));
  }
  return 0;
}
