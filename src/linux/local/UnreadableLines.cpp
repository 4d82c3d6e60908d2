#include "linux/local/UnreadableLines.h"

#include <algorithm>
#include <optional>

#include "gatehall/base/PlatformException.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/AccountLine.h"
#include "linux/files/FaultLog.h"

namespace gatehall::local {

namespace {

[[noreturn]] void raise(const LineFormat& format, std::uint64_t line, std::string_view what,
                        std::string_view fault) {
  std::string text(format.path);
  text.append(":").append(std::to_string(line)).append(": ").append(what);
  throw PlatformException(text.append(": ").append(fault));
}

}  // namespace

void DoubtfulLines::require(const std::set<std::string>& missing) const {
  if (missing.empty()) return;
  for (const auto& line : mLines) {
    if (!line.value.empty() && !missing.contains(line.value)) continue;
    const auto& value = line.value.empty() ? *missing.begin() : line.value;
    raise(mFormat, line.number, "a line that may be that of " + printable(value), line.fault);
  }
}

void requireNotHidden(Host& host, const LineFormat& format,
                      const std::function<std::set<std::string>()>& names) {
  std::optional<std::set<std::string>> missing;
  const auto look = [&](std::string_view line, std::uint64_t number) {
    std::string fault;
    const bool isReadable = format.isReadable(line, fault);
    const auto name = accountLine::name(line);
    const bool isPlain = std::ranges::all_of(name, [](char c) { return c > ' ' && c <= '~'; });
    if (isReadable && isPlain) return true;
    const auto plain = accountLine::plainName(name);
    if (isReadable && plain == name) return true;
    if (!missing) missing = names();
    if (missing->empty()) return false;
    if (missing->contains(plain)) {
      if (isReadable) fault = "there is something unseen in it";
      raise(format, number, "the line of " + printable(plain), fault);
    }
    if (isReadable && !plain.empty()) return true;
    if (isReadable) fault = "the name is blank";
    // What stands for no account does so behind a mark as well.
    const bool isBlank = plain.empty() && name.size() == line.size() && !line.empty();
    if (isBlank || (!plain.empty() && accountLine::isNoAccount(plain))) return true;
    const auto colons = static_cast<std::size_t>(std::ranges::count(line, ':'));
    if (plain.empty() || colons == 0 || colons >= format.fields) {
      raise(format, number, "a line that may be that of " + printable(*missing->begin()), fault);
    }
    return true;
  };
  accountFiles::scanRequired(host.options, host.faults, format.path, look);
}

}  // namespace gatehall::local
