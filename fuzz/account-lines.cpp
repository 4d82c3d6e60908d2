// Lines of passwd(5), shadow(5) and group(5).

#include "fuzz/Input.h"
#include "linux/accounts/Group.h"
#include "linux/accounts/Passwd.h"
#include "linux/accounts/Shadow.h"
#include "linux/files/FaultLog.h"

namespace {

using namespace gatehall;
using gatehall::fuzz::require;

/// An entry has a name; without one there is a reason to report.
template <class Entry>
void check(const Entry& entry, const std::string& fault) {
  require(entry ? !entry->name.empty() : !fault.empty());
}

void parse(std::string_view line) {
  std::string passwdFault;
  std::string shadowFault;
  std::string groupFault;
  const auto passwd = parsePasswdLine(line, passwdFault);
  const auto shadow = parseShadowLine(line, shadowFault);
  const auto group = parseGroupLine(line, groupFault);
  check(passwd, passwdFault);
  check(shadow, shadowFault);
  check(group, groupFault);
  if (passwd) fullNameOfGecos(passwd->gecos, passwd->name);
  if (group) {
    eachMember(group->members, [](std::string_view name) {
      require(!name.empty());
      return true;
    });
  }
  printable(line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::eachLine(fuzz::text(data, size), parse);
  return 0;
}
