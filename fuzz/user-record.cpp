// JSON user records.

#include "fuzz/Input.h"
#include "linux/accounts/UserRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  std::string fault;
  const auto record = parseUserRecord(fuzz::text(data, size), fault);
  fuzz::require(record ? !record->userName.empty() : !fault.empty());
  return 0;
}
