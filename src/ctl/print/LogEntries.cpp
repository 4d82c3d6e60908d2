#include "ctl/print/LogEntries.h"

namespace gatehall::ctl {

std::string levelName(RecordingLog::Level level) {
  return level == RecordingLog::Level::Error ? "error" : "diagnostic";
}

Json logJson(const RecordingLog& log) {
  auto list = Json::array();
  for (const auto& entry : log.entries()) {
    list.push_back({{"level", levelName(entry.level)}, {"text", entry.text}});
  }
  return list;
}

Table logTable(const RecordingLog& log) {
  Table table{.fits = {Fit::Whole, Fit::Wrap}};
  for (const auto& entry : log.entries()) {
    if (table.header.empty()) table.header = {"LOGGED", "TEXT"};
    table.rows.push_back({{levelName(entry.level)}, {entry.text}});
  }
  return table;
}

}  // namespace gatehall::ctl
