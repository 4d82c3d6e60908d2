#include "ctl/print/UsersAnswer.h"

#include "ctl/print/LogEntries.h"
#include "ctl/print/UserEntries.h"

namespace gatehall::ctl {

Answer usersAnswer(const RecordingLog& log, bool inJson,
                   const std::shared_ptr<CachedUserList>& users, const std::string& withoutList) {
  Answer answer{.tellsLog = true, .source = users};
  if (inJson) {
    answer.json["users"] = usersJson(users);
    answer.json["log"] = logJson(log);
  } else {
    answer.tables.push_back(usersTable(users, withoutList));
    answer.tables.push_back(logTable(log));
  }
  return answer;
}

}  // namespace gatehall::ctl
