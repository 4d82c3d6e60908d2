#include "linux/hours/AccountsServiceUser.h"

#include <charconv>
#include <system_error>

namespace gatehall::accountsService {

std::optional<std::uint32_t> userOf(std::string_view path) {
  if (!path.starts_with(kUserPath)) return std::nullopt;
  path.remove_prefix(kUserPath.size());
  std::uint32_t userID = 0;
  const auto* end = path.data() + path.size();
  const auto read = std::from_chars(path.data(), end, userID);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return userID;
}

}  // namespace gatehall::accountsService
