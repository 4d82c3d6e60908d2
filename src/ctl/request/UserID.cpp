#include "ctl/request/UserID.h"

#include <charconv>
#include <system_error>

#include "ctl/request/Verb.h"

namespace gatehall::ctl {

std::int32_t userIDOperand(const std::string& text) {
  std::uint32_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  constexpr std::uint32_t kLargest = 4294967294;
  if (error != std::errc() || stop != end || number > kLargest) {
    throw UsageError("'" + text + "' is not a user id: a decimal number from 0 to " +
                     std::to_string(kLargest));
  }
  return static_cast<std::int32_t>(number);
}

}  // namespace gatehall::ctl
