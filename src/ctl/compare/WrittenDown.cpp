#include "ctl/compare/WrittenDown.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

#include "ctl/export/Exported.h"
#include "linux/files/FaultLog.h"
#include "linux/local/AdminGroup.h"
#include "linux/local/Settings.h"

namespace gatehall::ctl {

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor fileWith(std::string_view content) {
  FileDescriptor file(memfd_create("world", MFD_CLOEXEC));
  if (!file.isOpen()) fail("memfd_create");
  while (!content.empty()) {
    const auto count = write(file.number(), content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("write");
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  return file;
}

}  // namespace

WrittenDown::WrittenDown(const Host::Source& machine) {
  const Host host(machine, Trace::Keeps::LastOperation);
  const auto world = exported(host, Extent::All);
  mFile = fileWith(worldText(world));
  mUnknown = world.unknown;
  FaultLog faults(host.log());
  mAdministrators = local::Settings::read(host.options(), faults).adminGroups;
}

bool WrittenDown::makesAdministrators(std::string_view group) const {
  return group != local::AdminGroup::kName &&
         std::ranges::find(mAdministrators, group) != mAdministrators.end();
}

Host::Source WrittenDown::world() const {
  return {.world = "/proc/self/fd/" + std::to_string(mFile.number())};
}

}  // namespace gatehall::ctl
