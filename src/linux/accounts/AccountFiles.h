#pragma once

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include "gatehall/base/PlatformException.h"
#include "linux/accounts/AccountLine.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/files/HostPath.h"
#include "linux/files/LineFile.h"

/// Passes over the account files.
namespace gatehall::accountFiles {

inline constexpr std::string_view kPasswd = "/etc/passwd";
inline constexpr std::string_view kShadow = "/etc/shadow";
inline constexpr std::string_view kGroup = "/etc/group";

inline constexpr std::size_t kLongestAccountLine = 65534;
/// A group's line names all its members.
inline constexpr std::size_t kLongestGroupLine = std::size_t{16} << 20U;

/// Calls visit(line, lineNumber) with each line that stands for an account, until it answers false;
/// with an empty one in place of a line beyond the limit. Answers 0, or the errno(3) for which the
/// file can't be opened. Raises PlatformException when it can't be read to its end, and for a
/// group's line beyond the limit: which group that is, and so whether a list that admits or refuses
/// users is missing, can't be told.
template <class Visit>
int scan(const HostOptions& options, FaultLog& faults, std::string_view path, Visit visit) {
  LineFile file(hostPath(options, path), path == kGroup ? kLongestGroupLine : kLongestAccountLine);
  std::string_view line;
  while (file.next(line)) {
    if (file.isOverlong()) {
      faults.report(path, file.lineNumber(), "the line is too long");
      if (path == kGroup) throw PlatformException(std::string(path) + ": a line is too long");
    } else if (accountLine::isNoAccount(line)) {
      continue;
    }
    if (!visit(line, file.lineNumber())) break;
  }
  return file.openError();
}

/// The same for a file without which nobody knows who is who: one that can't be opened, or isn't
/// there, raises PlatformException.
template <class Visit>
void scanRequired(const HostOptions& options, FaultLog& faults, std::string_view path,
                  Visit visit) {
  const int error = scan(options, faults, path, visit);
  if (error != 0) throw PlatformException(std::string(path) + ": " + strerrordesc_np(error));
}

}  // namespace gatehall::accountFiles
