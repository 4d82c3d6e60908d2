#pragma once

#include <string>

#include "ctl/print/Json.h"
#include "ctl/print/Table.h"
#include "instrumented/RecordingLog.h"

namespace gatehall::ctl {

/// "error" (the system log) or "diagnostic".
std::string levelName(RecordingLog::Level level);

/// [{"level": …, "text": …}], in order.
Json logJson(const RecordingLog& log);

/// The same, a line an entry; no row when nothing was logged.
Table logTable(const RecordingLog& log);

}  // namespace gatehall::ctl
