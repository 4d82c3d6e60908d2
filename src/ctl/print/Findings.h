#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ctl/print/Answer.h"
#include "ctl/print/Json.h"
#include "ctl/print/Table.h"

namespace gatehall::ctl {

/// Something that is wrong, or will surprise, and what to do about it.
struct Finding {
  enum class Severity { Warning, Error };

  Severity severity = Severity::Warning;
  std::string file{};        ///< where; empty: in no file
  std::uint64_t line = 0;    ///< from 1; 0: the file as a whole
  std::string text{};        ///< what, without a full stop
  std::string remedy{};      ///< what to do
  std::uint64_t column = 0;  ///< from 1, in bytes; 0: the line as a whole
  std::string path{};        ///< of keys in a JSON file (RFC 6901); empty: none
};

/// "FILE:LINE:COLUMN PATH", as far as there are such, or nothing.
std::string placeText(const Finding& finding);

/// [{"severity": "warning", "file": …, "line": …, "text": …, "remedy": …, "column": …, "path": …}],
/// in order, null for what there isn't.
Json findingsJson(const std::vector<Finding>& findings);

/// The same, some lines a finding; no row when there is none.
Table findingsTable(const std::vector<Finding>& findings);

/// Done without findings, No when there are only warnings, else WrongUsage.
ExitStatus statusOf(const std::vector<Finding>& findings);

}  // namespace gatehall::ctl
