#include "ctl/check/FileFindings.h"

#include <utility>

#include "linux/PolicyFiles.h"

namespace gatehall::ctl {

namespace {

using Kind = MisplacedRights::Kind;
using Severity = Finding::Severity;

std::string remedyFor(const MisplacedRights& file) {
  switch (file.kind) {
    case Kind::Hidden:
      return "Run \"chmod o+rX " + file.path + "\".";
    case Kind::Foreign:
      return "Run \"chown root " + file.path + "\", and look at what it says.";
    case Kind::Writable:
      return "Run \"chmod go-w " + file.path + "\", and look at what it says.";
    case Kind::Told:
      break;
  }
  return "Run \"chmod o-rwx " + file.path + "\", and have the passwords changed.";
}

}  // namespace

std::vector<Finding> findingsOfFiles(const HostOptions& options) {
  std::vector<Finding> findings;
  for (const auto& file : misplacedRights(options)) {
    const auto severity = file.kind == Kind::Hidden ? Severity::Warning : Severity::Error;
    findings.push_back({severity, file.path, 0, "it " + file.text, remedyFor(file)});
  }
  return findings;
}

}  // namespace gatehall::ctl
