// What the process that asks the name service answers, and what it is asked.

#include <string>

#include "fuzz/Input.h"
#include "gatehall/base/PlatformException.h"
#include "linux/nss/Message.h"

namespace {

/// What can be read is written as it was.
template <class Read>
void roundTrip(const std::string& bytes, Read read) {
  std::string again;
  try {
    again = gatehall::nss::written(read(bytes));
  } catch (const gatehall::PlatformException&) {
    return;
  }
  gatehall::fuzz::require(again.substr(gatehall::nss::kLengthBytes) == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  const std::string bytes(fuzz::text(data, size));
  roundTrip(bytes, nss::readAnswer);
  roundTrip(bytes, nss::readQuestion);
  return 0;
}
