// Catalogues of messages.

#include "fuzz/Input.h"
#include "portable/formats/MessageCatalogue.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  const MessageCatalogue catalogue{std::string(fuzz::text(data, size))};
  for (const auto* message : {"locked", "no shell", "You may not log in on this computer", ""}) {
    const auto translation = catalogue.translated(message);
    fuzz::require(message[0] == '\0' || !translation.empty());
  }
  return 0;
}
