#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ctl/print/Json.h"
#include "ctl/print/Table.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// How a run ends.
enum class ExitStatus {
  Done = 0,
  No = 1,           ///< the answer is no
  WrongUsage = 2,   ///< the command line or a file is wrong
  HostFailure = 3,  ///< the host failed to answer
};

/// What a verb found out, for programs and for people.
struct Answer {
  Json json = nullptr;  ///< an object; null when there is no answer
  std::vector<Table> tables{};
  std::string text{};  ///< for people, as it stands, in place of tables
  ExitStatus status = ExitStatus::Done;
  bool tellsLog = false;                 ///< what was logged is part of it
  Strings messages{};                    ///< what there is to say besides, one line each
  std::shared_ptr<const void> source{};  ///< what it was made of, which may be large
};

}  // namespace gatehall::ctl
